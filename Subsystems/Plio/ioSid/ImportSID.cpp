// ImportSID: the plug-in's one exported function. The host loads the library by path and
// calls it with its manager; the filter it returns is the host's to delete.
#include "SidImportFilter.h"
#include "engines/OpenEngines.h"

#include <mutex>
#include <new>

#ifdef _WIN32
#define IOSID_EXPORT __declspec(dllexport)
#else
#define IOSID_EXPORT __attribute__((visibility("default")))
#endif

namespace {

// The library's one-time set-up, run before the first filter exists. The decode engines this
// library reads with are registered with the decode seam's factory here, and only here.
void InitializeLibrary() {
    static std::once_flag once;
    std::call_once(once, [] {
        // The plug-in links its own copy of the seam, so it registers its own engines.
        engines::RegisterOpenEngines();
    });
}

} // namespace

extern "C" IOSID_EXPORT plio::IoImportFilter *ImportSID(plio::IoManager &manager) {
    InitializeLibrary();
    return new (std::nothrow) SidImportFilter(manager);
}
