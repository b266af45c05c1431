// TrCRS: a coordinate reference system handed to the host (a copy of the definition given).
#pragma once
#include "plio/TrBase.h"

#include <memory>

namespace gcs {
class CSDef;
}

namespace plio {

class TrCRS : public TrBase {
public:
    TrCRS();
    ~TrCRS() override;
    static const shr::CTypeInfo *GetClassTypeId();
    const shr::CTypeInfo *GetTypeId() const override { return GetClassTypeId(); }

    // Copies `definition`; null clears it.
    void SetCS(const gcs::CSDef *definition);
    const gcs::CSDef *GetCS() const { return definition_.get(); }

private:
    std::unique_ptr<gcs::CSDef> definition_;
};

} // namespace plio
