// The file filter with memory that fails at every place.

#include <gtest/gtest.h>

#include <array>

#include "Host.h"
#include "values/FailingMemory.h"

namespace {

/** Runs work with one allocation after the other failing, until none of them is reached. */
template <typename Work>
void FailEachAllocation(Work work) {
    for (int place = 0, reached = 1; reached != 0; ++place) {
        ASSERT_LT(place, 20000);
        FailAllocation(place);
        const int32_t result = work();
        reached = AllocationFailed();
        FailAllocation(-1);
        ASSERT_TRUE(result == FILTER_SUCCESS || (reached && result < 0)) << place << ": " << result;
    }
}

TEST(FileFilterFault, ShortMemoryIsACode) {
    const MDicomDS keepsCodecsLoaded(nullptr);
    const support::TemporaryFolder folder;
    const std::wstring name = folder.WideFile("picture.dcm");
    const std::string path = folder.File("picture.dcm");
    Picture picture(8, 8, 16, KERNEL_ORDER_GRAY);
    for (const int32_t format : {FILTER_FORMAT_DICOM_GRAY, FILTER_FORMAT_DICOM_JPEG_GRAY}) {
        _FILTERSAVE save{};
        save.pszName = name.c_str();
        save.pBitmap = &picture.record;
        save.nFormat = format;
        FailEachAllocation([&] { return fltSave(&save); });
        ASSERT_EQ(folder.Count(), 1u) << "nothing but the file is left";
        FailEachAllocation([&] {
            _FILEINFO info{};
            return Describe(path, 1, info);
        });
        FailEachAllocation([&] {
            std::array<char, 20> text{};
            _FILTERCOMMENT argument{name.c_str(), FILTER_COMMENT_PATIENT_NAME, text.data(), 20};
            return std::min(fltComment(&argument), 1);
        });
        FailEachAllocation([&] {
            _BITMAPHANDLE target{};
            target.nStructSize = sizeof target;
            _FILTERLOAD argument{};
            argument.pszName = name.c_str();
            argument.pBitmap = &target;
            argument.pfnCallback = [](auto...) -> int32_t { return FILTER_SUCCESS; };
            const int32_t result = fltLoad(&argument);
            KernelFreeBitmap(&target);
            return result;
        });
    }
}

} // namespace
