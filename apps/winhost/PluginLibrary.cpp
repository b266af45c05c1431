// LoadLibrary and GetProcAddress("ImportSID").
#include "PluginLibrary.h"

#include <windows.h>

#include "shr/Format.h"

namespace winhost {

PluginLibrary::PluginLibrary(const std::wstring &path) {
    std::wstring windowsPath = path;
    for (wchar_t &c : windowsPath)
        c = c == L'/' ? L'\\' : c;
    HMODULE module = LoadLibraryW(windowsPath.c_str());
    if (!module) {
        error_ = shr::FormatString(L"cannot load %ls (error %lu)", path.c_str(), GetLastError());
        return;
    }
    module_ = module;
    create_ = reinterpret_cast<CreateFunction>(
        reinterpret_cast<void *>(GetProcAddress(module, "ImportSID")));
    if (!create_)
        error_ = shr::FormatString(L"%ls has no ImportSID", path.c_str());
}

PluginLibrary::~PluginLibrary() {
    if (module_)
        FreeLibrary(static_cast<HMODULE>(module_));
}

std::unique_ptr<plio::IoImportFilter> PluginLibrary::CreateFilter(plio::IoManager &host) const {
    return std::unique_ptr<plio::IoImportFilter>(create_ ? create_(host) : nullptr);
}

std::wstring PluginBesideProgram() {
    wchar_t buffer[MAX_PATH] = {};
    const DWORD n = GetModuleFileNameW(nullptr, buffer, MAX_PATH);
    std::wstring path(buffer, n);
    const size_t slash = path.find_last_of(L"\\/");
    return (slash == std::wstring::npos ? std::wstring() : path.substr(0, slash + 1)) +
           L"ioSid.dll";
}

} // namespace winhost
