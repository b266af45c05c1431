// Internal error reporting.
#include "InternalError.h"

#include "Format.h"
#include "Strings.h"

namespace shr {

void ThrowInternalError(const wchar_t *module, const wchar_t *sourceFile, int line) {
    throw InternalError(
        WtoA(FormatString(L"%ls: internal error in %ls line %d", module, sourceFile, line)));
}

} // namespace shr
