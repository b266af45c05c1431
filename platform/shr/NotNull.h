// The two pieces of the Guidelines Support Library the file layer uses: a pointer that may not
// be null, and the exception a broken precondition raises (GSL's throwing contract mode).
#pragma once
#include <stdexcept>

namespace gsl {

struct fail_fast : public std::logic_error {
    explicit fail_fast(const char *message) : std::logic_error(message) {}
};

template <class T> class not_null {
public:
    // Implicit, as in the GSL, so that a raw pointer argument is checked at the call.
    not_null(T pointer) : pointer_(pointer) { // NOLINT(google-explicit-constructor)
        if (pointer_ == nullptr)
            throw fail_fast("GSL: Precondition failure: not_null constructed from null");
    }
    not_null(std::nullptr_t) = delete;
    T get() const { return pointer_; }
    operator T() const { return pointer_; } // NOLINT(google-explicit-constructor)
    T operator->() const { return pointer_; }

private:
    T pointer_;
};

} // namespace gsl
