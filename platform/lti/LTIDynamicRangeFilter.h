// LTIDynamicRangeFilter: a filter that maps samples of any data type onto 8-bit unsigned,
// stretching each band's declared dynamic range onto 0..255.
#pragma once
#include "LTIImageStage.h"

namespace LizardTech {

class LTIDynamicRangeFilter : public LTIImageStage {
public:
    static LTIDynamicRangeFilter *create() { return new LTIDynamicRangeFilter(); }
    // `dataType` is the output type; only LTI_DATATYPE_UINT8 is offered.
    LT_STATUS initialize(LTIImageStage *source, LTIDataType dataType);

protected:
    LT_STATUS decode(const Window &window, LTISceneBuffer &buffer) override;

private:
    LTIDynamicRangeFilter() = default;
    bool isIdentity() const;

    LTIImageStage *source_ = nullptr;
};

} // namespace LizardTech
