// Internal errors: a broken invariant of the program itself, raised with its origin.
#pragma once
#include <stdexcept>

namespace shr {

class InternalError : public std::logic_error {
public:
    using std::logic_error::logic_error;
};

// Throws InternalError naming the module, source file and line.
[[noreturn]] void ThrowInternalError(const wchar_t *module, const wchar_t *sourceFile, int line);

} // namespace shr
