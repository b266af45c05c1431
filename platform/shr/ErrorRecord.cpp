// Text form of an error record.
#include "ErrorRecord.h"

#include "Format.h"

namespace shr {

std::wstring ErrorRecord::Describe() const {
    return FormatString(L"%ls line %d: status %d", file.c_str(), static_cast<int>(line),
                        static_cast<int>(code));
}

} // namespace shr
