// PluginLibrary over dlopen (native) and LoadLibrary (Windows).
#include "PluginLibrary.h"

#include "shr/Path.h"
#include "shr/Strings.h"

#include <stdexcept>
#include <vector>

#ifdef _WIN32
#include <windows.h>
#else
#include <dlfcn.h>
#include <unistd.h>
#endif

namespace iosid {
namespace {

#ifdef _WIN32
constexpr const char *kLibraryName = "ioSid.dll";

std::string ExecutableDirectory() {
    std::vector<wchar_t> buffer(32768);
    const DWORD n = GetModuleFileNameW(nullptr, buffer.data(), DWORD(buffer.size()));
    return shr::WtoA(shr::CPath(std::wstring(buffer.data(), n)).GetDirectory());
}

std::string LastErrorText() { return "error " + std::to_string(GetLastError()); }
#else
constexpr const char *kLibraryName = "libioSid.so";

std::string ExecutableDirectory() {
    std::vector<char> buffer(4096);
    const ssize_t n = readlink("/proc/self/exe", buffer.data(), buffer.size() - 1);
    if (n <= 0)
        return ".";
    return shr::WtoA(shr::CPath(shr::AtoW(std::string(buffer.data(), size_t(n)))).GetDirectory());
}
#endif

} // namespace

std::string PluginLibrary::DefaultPath() {
    const std::string dir = ExecutableDirectory();
    return (dir.empty() ? std::string(".") : dir) + "/" + kLibraryName;
}

PluginLibrary::PluginLibrary(const std::string &path) : path_(path) {
#ifdef _WIN32
    HMODULE module = LoadLibraryW(shr::AtoW(path).c_str());
    if (!module)
        throw std::runtime_error("cannot load the plug-in " + path + " (" + LastErrorText() + ")");
    handle_ = module;
    entry_ = reinterpret_cast<Entry>(reinterpret_cast<void *>(GetProcAddress(module, "ImportSID")));
#else
    handle_ = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!handle_)
        throw std::runtime_error("cannot load the plug-in " + path + " (" + dlerror() + ")");
    entry_ = reinterpret_cast<Entry>(dlsym(handle_, "ImportSID"));
#endif
    if (!entry_) {
        Unload();
        throw std::runtime_error("the plug-in " + path + " does not export ImportSID");
    }
}

PluginLibrary::~PluginLibrary() { Unload(); }

void PluginLibrary::Unload() {
    if (!handle_)
        return;
#ifdef _WIN32
    FreeLibrary(static_cast<HMODULE>(handle_));
#else
    dlclose(handle_);
#endif
    handle_ = nullptr;
}

std::unique_ptr<plio::IoImportFilter> PluginLibrary::CreateFilter(plio::IoManager &manager) const {
    std::unique_ptr<plio::IoImportFilter> filter(entry_(manager));
    if (!filter)
        throw std::runtime_error("the plug-in " + path_ + " made no filter");
    return filter;
}

} // namespace iosid
