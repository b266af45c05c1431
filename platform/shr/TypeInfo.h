// CTypeInfo: the identity of a transfer-object class, comparable across separately built
// modules (each module has its own copy of the static that names a class, so compare names).
#pragma once
#include <cstring>

namespace shr {

class CTypeInfo {
public:
    explicit constexpr CTypeInfo(const char *name) : name_(name) {}
    const char *GetName() const { return name_; }
    bool operator==(const CTypeInfo &other) const { return std::strcmp(name_, other.name_) == 0; }

private:
    const char *name_;
};

} // namespace shr
