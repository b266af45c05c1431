// Linear stretch of the declared range onto 8-bit samples.
#include "LTIDynamicRangeFilter.h"

#include "SampleOps.h"

#include <cmath>

namespace LizardTech {
namespace {

template <class T>
void StretchPlane(const LTISceneBuffer &in, LTISceneBuffer &out, lt_uint16 band, lt_uint32 width,
                  lt_uint32 height, lt_uint32 outTop, double lo, double hi) {
    // Multiply before dividing so that exact midpoints (such as 50 of 0..100) stay exact.
    const double span = hi > lo ? hi - lo : HUGE_VAL;
    for (lt_uint32 row = 0; row < height; ++row) {
        const T *src = reinterpret_cast<const T *>(in.getRow(band, row));
        lt_uint8 *dst = out.getRow(band, outTop + row);
        for (lt_uint32 x = 0; x < width; ++x)
            dst[x] = detail::ClampTo<lt_uint8>((static_cast<double>(src[x]) - lo) * 255.0 / span,
                                               0.0, 255.0);
    }
}

} // namespace

LT_STATUS LTIDynamicRangeFilter::initialize(LTIImageStage *source, LTIDataType dataType) {
    if (source == nullptr)
        return LT_STS_BadParam;
    if (dataType != LTI_DATATYPE_UINT8)
        return setLastStatus(LTI_STS_UnsupportedDataType,
                             "the dynamic range filter delivers 8-bit unsigned samples only");
    const LTIPixel pixel(source->getColorSpace(), source->getNumBands(), dataType);
    if (const LT_STATUS status = setImageProps(source->getWidth(), source->getHeight(), pixel,
                                               source->getMinMagnification()))
        return status;
    setSource(source);
    source_ = source;
    return LT_STS_Success;
}

bool LTIDynamicRangeFilter::isIdentity() const {
    if (source_->getDataType() != LTI_DATATYPE_UINT8)
        return false;
    for (lt_uint16 band = 0; band < getNumBands(); ++band)
        if (source_->getMinDynamicRange(band) != 0.0 || source_->getMaxDynamicRange(band) != 255.0)
            return false;
    return true;
}

LT_STATUS LTIDynamicRangeFilter::decode(const Window &window, LTISceneBuffer &buffer) {
    const LTIScene scene(window.x, window.y, window.width, window.height, 1.0 / window.reduction);
    if (isIdentity())
        return source_->read(scene, buffer);
    return readInRowBands(*source_, window, [&](const LTISceneBuffer &in, lt_uint32 top,
                                                lt_uint32 rows) {
        for (lt_uint16 band = 0; band < getNumBands(); ++band) {
            const double lo = source_->getMinDynamicRange(band);
            const double hi = source_->getMaxDynamicRange(band);
            detail::DispatchDataType(source_->getDataType(), [&](auto t) {
                StretchPlane<decltype(t)>(in, buffer, band, window.width, rows, top, lo, hi);
            });
        }
    });
}

} // namespace LizardTech
