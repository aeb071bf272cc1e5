// A file that is written under a temporary name and takes its place when it is complete.

#include "Common/System/ReplacementFile.h"

#include <filesystem>
#include <random>
#include <utility>

#include "Common/Utils/Text.h"
#include "Mvkrnx.h"

namespace mdicom {

namespace fs = std::filesystem;

namespace {

std::string RandomName() {
    static constexpr char kLetters[] = "abcdefghijklmnopqrstuvwxyz0123456789";
    thread_local std::minstd_rand random(std::random_device{}());
    std::string name = ".DIC";
    for (int i = 0; i < 12; ++i) name += kLetters[random() % (sizeof kLetters - 1)];
    return name;
}

} // namespace

ReplacementFile::~ReplacementFile() {
    if (m_Temporary.empty()) return;
    m_Stream.Close(1);
    KernelFileRemove(m_Temporary.c_str());
}

bool ReplacementFile::Create(const wchar_t *path) {
    if (path == nullptr || path[0] == L'\0') return false;
    std::error_code error;
    m_Path = NarrowUtf8(path);
    const fs::file_status status = fs::status(m_Path, error);
    const bool exists = fs::exists(status);
    // A name that cannot be is refused before anything is written.
    if (!fs::status_known(status) || (exists && !fs::is_regular_file(status))) return false;
    if (exists) {
        const fs::path real = fs::canonical(m_Path, error);
        if (!error) m_Path = real.string();
    }
    // Not the name and more: it may be as long as names can be.
    m_Temporary = m_Path.substr(0, m_Path.rfind('/') + 1) + RandomName();
    const int flags =
        KERNEL_OPEN_READ | KERNEL_OPEN_WRITE | KERNEL_OPEN_CREATE | KERNEL_OPEN_EXCLUSIVE;
    M_HFILE__ *file = KernelFileOpen(m_Temporary.c_str(), flags, exists ? 0600 : 0666);
    if (file == KERNEL_NO_FILE) {
        m_Temporary.clear();
        return false;
    }
    if (exists) fs::permissions(m_Temporary, status.permissions(), error);
    m_Stream.SetHandle(file, FILE_MODE_READ | FILE_MODE_WRITE | FILE_MODE_KERNEL);
    return true;
}

bool ReplacementFile::Commit() {
    if (m_Temporary.empty() || !m_Stream.Flush()) return false;
    auto *file = static_cast<M_HFILE__ *>(std::exchange(m_Stream.hFile, KERNEL_NO_FILE));
    if (!KernelFileClose(file)) return false;
    if (!KernelFileRename(m_Temporary.c_str(), m_Path.c_str())) return false;
    m_Temporary.clear();
    return true;
}

} // namespace mdicom
