// TrBase: a result a filter hands its host. Hosts tell the kinds apart by type id, which
// compares by name, so an object made in a separately built filter is still recognised.
#pragma once
#include "shr/TypeInfo.h"

namespace plio {

class TrBase {
public:
    virtual ~TrBase() = default;
    virtual const shr::CTypeInfo *GetTypeId() const = 0;
    bool IsA(const shr::CTypeInfo *type) const { return type && *GetTypeId() == *type; }

protected:
    TrBase() = default;
    TrBase(const TrBase &) = delete;
    TrBase &operator=(const TrBase &) = delete;
};

} // namespace plio
