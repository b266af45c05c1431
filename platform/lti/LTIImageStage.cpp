// Image stage properties and scene checking.
#include "LTIImageStage.h"

#include "LTIUtils.h"

#include <algorithm>
#include <cmath>
#include <string>

namespace LizardTech {
namespace {

bool IsWhole(double v) { return v >= 0.0 && v <= 4294967295.0 && v == std::floor(v); }

// 1 / mag as a power of two, or 0 when it is not one.
lt_uint32 ReductionOf(double mag) {
    if (!(mag > 0.0) || mag > 1.0)
        return 0;
    const double inverse = 1.0 / mag;
    const double rounded = std::round(inverse);
    if (std::fabs(inverse - rounded) > 1e-6 || rounded > 2147483648.0)
        return 0;
    const auto r = static_cast<lt_uint32>(rounded);
    return (r & (r - 1)) == 0 ? r : 0;
}

} // namespace

LTIImageStage::~LTIImageStage() = default;

LT_STATUS LTIImageStage::setImageProps(lt_uint32 width, lt_uint32 height, const LTIPixel &pixel,
                                       double minMag) {
    if (width == 0 || height == 0 || pixel.getNumBands() == 0 ||
        pixel.getNumBytesPerSample() == 0 || !(minMag > 0.0) || minMag > 1.0)
        return setLastStatus(LTI_STS_UnsupportedImage, "empty image or no bands");
    width_ = width;
    height_ = height;
    pixel_ = pixel;
    minMag_ = minMag;
    ranges_.assign(pixel.getNumBands(), Range{LTIUtils::getTypeMin(pixel.getDataType()),
                                              LTIUtils::getTypeMax(pixel.getDataType())});
    initialized_ = true;
    return LT_STS_Success;
}

void LTIImageStage::setDynamicRange(double minValue, double maxValue) {
    for (Range &r : ranges_)
        r = {minValue, maxValue};
}

void LTIImageStage::setDynamicRange(lt_uint16 band, double minValue, double maxValue) {
    if (band < ranges_.size())
        ranges_[band] = {minValue, maxValue};
}

double LTIImageStage::getMinDynamicRange(lt_uint16 band) const {
    return band < ranges_.size() ? ranges_[band].min : 0.0;
}

double LTIImageStage::getMaxDynamicRange(lt_uint16 band) const {
    return band < ranges_.size() ? ranges_[band].max : 0.0;
}

double LTIImageStage::getMinDynamicRange() const {
    double lo = ranges_.empty() ? 0.0 : ranges_.front().min;
    for (const Range &r : ranges_)
        lo = std::min(lo, r.min);
    return lo;
}

double LTIImageStage::getMaxDynamicRange() const {
    double hi = ranges_.empty() ? 0.0 : ranges_.front().max;
    for (const Range &r : ranges_)
        hi = std::max(hi, r.max);
    return hi;
}

LT_STATUS LTIImageStage::getDimsAtMag(double mag, lt_uint32 &width, lt_uint32 &height) const {
    if (!initialized_)
        return LT_STS_NotInitialized;
    if (!(mag > 0.0) || mag > 1.0)
        return LT_STS_BadParam;
    width = static_cast<lt_uint32>(std::ceil(width_ * mag - 1e-9));
    height = static_cast<lt_uint32>(std::ceil(height_ * mag - 1e-9));
    return LT_STS_Success;
}

const LTIMetadataDatabase &LTIImageStage::getMetadata() const {
    return source_ ? source_->getMetadata() : metadata_;
}

const LTIGeoCoord &LTIImageStage::getGeoCoord() const {
    return source_ ? source_->getGeoCoord() : geo_;
}

LT_STATUS LTIImageStage::checkScene(const LTIScene &scene, const LTISceneBuffer &buffer,
                                    Window &window) {
    window.reduction = ReductionOf(scene.getMag());
    if (window.reduction == 0 || scene.getMag() < minMag_ * (1.0 - 1e-9))
        return setLastStatus(LTI_STS_BadScene, "magnification " + std::to_string(scene.getMag()) +
                                                   " is not offered by the image");
    lt_uint32 dimW = 0, dimH = 0;
    getDimsAtMag(scene.getMag(), dimW, dimH);
    const double x = scene.getUpperLeftCol(), y = scene.getUpperLeftRow();
    const double w = scene.getNumCols(), h = scene.getNumRows();
    if (!IsWhole(x) || !IsWhole(y) || !IsWhole(w) || !IsWhole(h) || x + w > dimW || y + h > dimH)
        return setLastStatus(LTI_STS_BadScene, "scene outside the image at its magnification");
    window = {static_cast<lt_uint32>(x), static_cast<lt_uint32>(y), static_cast<lt_uint32>(w),
              static_cast<lt_uint32>(h), window.reduction};
    const LTIPixel &bp = buffer.getPixelProps();
    if (bp.getNumBands() != pixel_.getNumBands() || bp.getDataType() != pixel_.getDataType() ||
        buffer.getNumCols() < window.width || buffer.getNumRows() < window.height)
        return setLastStatus(LTI_STS_BadSceneBuffer, "scene buffer of the wrong shape");
    for (lt_uint16 b = 0; b < bp.getNumBands(); ++b)
        if (buffer.getBandData(b) == nullptr)
            return setLastStatus(LTI_STS_BadSceneBuffer, "scene buffer without band data");
    return LT_STS_Success;
}

LT_STATUS LTIImageStage::read(const LTIScene &scene, LTISceneBuffer &buffer) {
    if (!initialized_)
        return LT_STS_NotInitialized;
    Window window{};
    if (const LT_STATUS status = checkScene(scene, buffer, window))
        return status;
    if (window.width == 0 || window.height == 0)
        return LT_STS_Success;
    return decode(window, buffer);
}

} // namespace LizardTech
