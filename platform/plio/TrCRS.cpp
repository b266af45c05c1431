// TrCRS.
#include "plio/TrCRS.h"

#include "gcs/CSDef.h"

namespace plio {

TrCRS::TrCRS() = default;
TrCRS::~TrCRS() = default;

const shr::CTypeInfo *TrCRS::GetClassTypeId() {
    static const shr::CTypeInfo type("plio::TrCRS");
    return &type;
}

void TrCRS::SetCS(const gcs::CSDef *definition) {
    definition_ = definition ? definition->Clone() : nullptr;
}

} // namespace plio
