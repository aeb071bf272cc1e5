// M_DllLoader: companion libraries that are found at run time.

#include <dlfcn.h>

#include <cstring>

#include "Mvkrnx.h"

namespace {

/** Library names are ASCII. */
std::string Narrow(const wchar_t *text) {
    std::string result;
    for (; text != nullptr && *text != L'\0'; ++text) {
        result += *text < 0x80 ? static_cast<char>(*text) : '?';
    }
    return result;
}

std::string FolderOf(void *address) {
    Dl_info info;
    if (address == nullptr || dladdr(address, &info) == 0 || info.dli_fname == nullptr) return {};
    const std::string path = info.dli_fname;
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? std::string() : path.substr(0, slash + 1);
}

} // namespace

M_DllLoader::~M_DllLoader() {
    if (m_hLibrary != nullptr) dlclose(m_hLibrary);
}

int32_t M_DllLoader::LoadWithPath(void *hInstance, const wchar_t *pszName, const wchar_t *pszPath,
                                  const wchar_t *) {
    if (m_hLibrary != nullptr) return Load();
    const std::string name = Narrow(pszName);
    const std::string path = Narrow(pszPath);
    if (name.empty()) return 0;
    const std::string folder = FolderOf(hInstance);
    if (!path.empty() && path != name) m_hLibrary = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (m_hLibrary == nullptr && !folder.empty()) {
        m_hLibrary = dlopen((folder + name).c_str(), RTLD_NOW | RTLD_LOCAL);
    }
    if (m_hLibrary == nullptr) m_hLibrary = dlopen(name.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (m_hLibrary == nullptr) return 0;
    m_nUsers = 1;
    Resolve();
    return 1;
}

int32_t M_DllLoader::Load() {
    if (m_hLibrary == nullptr) return 0;
    ++m_nUsers;
    return 1;
}

void M_DllLoader::Unload() {
    if (m_hLibrary == nullptr || --m_nUsers > 0) return;
    dlclose(m_hLibrary);
    m_hLibrary = nullptr;
    for (Function &function : m_Functions) function.Address = nullptr;
}

int32_t M_DllLoader::IsLoaded() {
    return m_hLibrary != nullptr ? 1 : 0;
}

void M_DllLoader::AddFunction(const char *pszName) {
    if (pszName == nullptr) return;
    void *address = m_hLibrary != nullptr ? dlsym(m_hLibrary, pszName) : nullptr;
    m_Functions.push_back({pszName, address});
}

void *M_DllLoader::GetFunction(const char *pszName) {
    for (const Function &function : m_Functions) {
        if (function.Name == pszName) return function.Address;
    }
    return nullptr;
}

int32_t M_DllLoader::IsFunctionOk(const char *pszName) {
    return GetFunction(pszName) != nullptr ? 1 : 0;
}

void M_DllLoader::Resolve() {
    for (Function &function : m_Functions) {
        function.Address = dlsym(m_hLibrary, function.Name.c_str());
    }
}
