// IoImportFilter: the defaults of the import operations.
#include "plio/IoImportFilter.h"

namespace plio {

ImportFileInfo IoImportFilter::GetFileInfo(bool, const std::wstring &) { return {}; }

bool IoImportFilter::HasDelayedImport() const { return false; }

void IoImportFilter::ImportFromMemory(const void *, size_t, bool) {
    ThrowError(L"platform/plio/IoImportFilter", __LINE__,
               L"This filter does not import from memory.");
}

void IoImportFilter::ImportObject(TrBase &object) const { GetManager().ImportObject(object); }

} // namespace plio
