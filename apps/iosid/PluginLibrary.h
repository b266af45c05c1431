// PluginLibrary: the ioSid plug-in loaded from its file by path (never linked), and the
// filters made through its one exported function.
#pragma once
#include "plio/IoImportFilter.h"

#include <memory>
#include <string>

namespace iosid {

class PluginLibrary {
public:
    // libioSid.so (ioSid.dll on Windows) beside the running executable.
    static std::string DefaultPath();

    // Loads the library and finds ImportSID; throws std::runtime_error saying why not.
    explicit PluginLibrary(const std::string &path);
    ~PluginLibrary(); // unloads: destroy every filter and everything it handed over first
    PluginLibrary(const PluginLibrary &) = delete;
    PluginLibrary &operator=(const PluginLibrary &) = delete;

    // A new filter on `manager`; throws std::runtime_error when the library gives none.
    std::unique_ptr<plio::IoImportFilter> CreateFilter(plio::IoManager &manager) const;

private:
    void Unload();

    using Entry = plio::IoImportFilter *(*)(plio::IoManager &);
    void *handle_ = nullptr;
    Entry entry_ = nullptr;
    std::string path_;
};

} // namespace iosid
