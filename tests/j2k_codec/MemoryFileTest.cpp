#include <gtest/gtest.h>

#include <cstring>
#include <thread>

#include "Common/CompUtil/MemoryFile.h"
#include "support/TestFiles.h"

using mdicom::MemoryFileInto;
using mdicom::MemoryFileOver;
using mdicom::RedirectedFiles;

namespace {

constexpr uint8_t kBytes[] = {1, 2, 3, 4, 5};

TEST(MemoryFile, ReadsAtAnyPlaceUpToItsEnd) {
    MEMORYFILE file = MemoryFileOver(kBytes);
    const RedirectedFiles redirected(file);
    M_HFILE__ *handle = KernelFileOpen("any", KERNEL_OPEN_READ, 0);
    ASSERT_NE(handle, KERNEL_NO_FILE);
    EXPECT_EQ(KernelFileLength(handle), 5);
    uint8_t buffer[4] = {9, 9, 9, 9};
    EXPECT_EQ(KernelFileRead(handle, buffer, 4, 3), 2);
    EXPECT_EQ(0, std::memcmp(buffer, "\4\5\0\0", 4)) << "zeroes behind what there is";
    EXPECT_EQ(KernelFileRead(handle, buffer, 4, 5), 0);
    EXPECT_EQ(KernelFileRead(handle, buffer, 4, 6), -1);
    EXPECT_EQ(KernelFileRead(reinterpret_cast<M_HFILE__ *>(6), buffer, 4, 0), -1);
    EXPECT_EQ(KernelFileWrite(handle, kBytes, 1, 5), MEMORYFILE_ERROR_FULL);
    KernelFileClose(handle);
}

TEST(MemoryFile, GrowsAndIsCutToItsContent) {
    MEMORYFILE file = MemoryFileInto(nullptr, 0);
    {
        const RedirectedFiles redirected(file);
        M_HFILE__ *handle = KernelFileOpen("any", KERNEL_OPEN_WRITE | KERNEL_OPEN_CREATE, 0);
        EXPECT_EQ(KernelFileWrite(handle, kBytes, 5, 0), 5);
        EXPECT_EQ(file.nCapacity, 32768u);
        EXPECT_EQ(KernelFileWrite(handle, kBytes, 5, 40000), 5);
        EXPECT_EQ(KernelFileWrite(handle, kBytes + 4, 1, 1), 1);
        KernelFileClose(handle);
    }
    EXPECT_EQ(file.nEnd, 40005u);
    EXPECT_EQ(file.nCapacity, 40005u);
    EXPECT_EQ(file.pData[1], 5);
    EXPECT_EQ(file.pData[20000], 0) << "a gap reads as zeroes";
    KernelFree(file.pData, 0, nullptr);
}

TEST(MemoryFile, OpeningToCreateEmptiesIt) {
    uint8_t block[8] = {1, 2, 3};
    MEMORYFILE file = MemoryFileInto(block, sizeof block);
    file.nEnd = 3;
    const RedirectedFiles redirected(file);
    KernelFileOpen("any", KERNEL_OPEN_READ, 0);
    EXPECT_EQ(file.nEnd, 3u);
    M_HFILE__ *handle = KernelFileOpen("any", KERNEL_OPEN_WRITE | KERNEL_OPEN_CREATE, 0);
    EXPECT_EQ(file.nEnd, 0u);
    EXPECT_EQ(KernelFileWrite(handle, kBytes, 5, 4), MEMORYFILE_ERROR_FULL);
    EXPECT_EQ(KernelFileWrite(handle, kBytes, 4, 4), 4);
    EXPECT_EQ(file.nEnd, 8u);
}

TEST(MemoryFile, OtherThreadsKeepTheirFiles) {
    const support::TemporaryFolder folder;
    const std::string path = folder.File("real");
    MEMORYFILE file = MemoryFileOver(kBytes);
    int64_t elsewhere = 0;
    {
        const RedirectedFiles redirected(file);
        std::thread([&] {
            M_HFILE__ *real =
                KernelFileOpen(path.c_str(), KERNEL_OPEN_WRITE | KERNEL_OPEN_CREATE, 0600);
            elsewhere = KernelFileWrite(real, "abc", 3, 0);
            KernelFileClose(real);
        }).join();
    }
    EXPECT_EQ(elsewhere, 3);
    M_HFILE__ *real = KernelFileOpen(path.c_str(), KERNEL_OPEN_READ, 0);
    ASSERT_NE(real, KERNEL_NO_FILE);
    EXPECT_EQ(KernelFileLength(real), 3) << "this thread is back at real files";
    KernelFileClose(real);
}

} // namespace
