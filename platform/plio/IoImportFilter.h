// IoImportFilter: a filter that reads files and hands the host what it made of them.
#pragma once
#include "plio/ImportFileInfo.h"
#include "plio/IoFilter.h"

#include <cstddef>
#include <string>

namespace plio {

class TrBase;

class IoImportFilter : public IoFilter {
public:
    using IoFilter::IoFilter;

    virtual bool CanImportFile(const std::wstring &path) = 0;
    // Properties of a file to show the user; `first` is the host's and may be ignored.
    virtual ImportFileInfo GetFileInfo(bool first, const std::wstring &path);
    // True when the filter imports later, on demand; this framework imports at once.
    virtual bool HasDelayedImport() const;
    virtual void Import(const std::wstring &path, bool interactive) = 0;
    // Not offered unless a filter overrides it: raises an error.
    virtual void ImportFromMemory(const void *data, size_t size, bool interactive);
    // Hands one result to the host.
    virtual void ImportObject(TrBase &object) const;
};

} // namespace plio
