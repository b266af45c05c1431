// PluginLibrary: the plug-in loaded by path, reached through its one export, ImportSID.
#pragma once
#include <memory>
#include <string>

#include "plio/IoImportFilter.h"

namespace winhost {

class PluginLibrary {
public:
    explicit PluginLibrary(const std::wstring &path);
    ~PluginLibrary();
    PluginLibrary(const PluginLibrary &) = delete;
    PluginLibrary &operator=(const PluginLibrary &) = delete;

    bool IsLoaded() const { return create_ != nullptr; }
    const std::wstring &GetErrorText() const { return error_; }
    // A new filter on `host`, to be deleted before the library goes; null when not loaded.
    std::unique_ptr<plio::IoImportFilter> CreateFilter(plio::IoManager &host) const;

private:
    using CreateFunction = plio::IoImportFilter *(*)(plio::IoManager &);
    void *module_ = nullptr;
    CreateFunction create_ = nullptr;
    std::wstring error_;
};

// The plug-in beside this program.
std::wstring PluginBesideProgram();

} // namespace winhost
