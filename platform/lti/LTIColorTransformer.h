// LTIColorTransformer: a filter that turns grey, grey with alpha, RGB, RGB with alpha and CMYK
// images into RGB (3 bands) or RGB with alpha (4 bands) of the same data type.
#pragma once
#include "LTIImageStage.h"

namespace LizardTech {

class LTIColorTransformer : public LTIImageStage {
public:
    static LTIColorTransformer *create() { return new LTIColorTransformer(); }
    // Nonzero when the source's colour space or `pixel` cannot be served: the destination must
    // be LTI_COLORSPACE_RGB with 3 bands or LTI_COLORSPACE_RGBA with 4, of the source's type.
    LT_STATUS initialize(LTIImageStage *source, const LTIPixel &pixel);

protected:
    LT_STATUS decode(const Window &window, LTISceneBuffer &buffer) override;

private:
    LTIColorTransformer() = default;
    void handOnRanges();
    void convert(const LTISceneBuffer &in, LTISceneBuffer &out, lt_uint32 width, lt_uint32 rows,
                 lt_uint32 outTop) const;

    LTIImageStage *source_ = nullptr;
};

} // namespace LizardTech
