// Colour conversion to RGB and RGBA, sample by sample in the source's data type.
#include "LTIColorTransformer.h"

#include "LTIUtils.h"
#include "SampleOps.h"

#include <cstring>

namespace LizardTech {
namespace {

bool IsSupportedSource(LTIColorSpace cs) {
    return cs == LTI_COLORSPACE_GRAYSCALE || cs == LTI_COLORSPACE_GRAYSCALEA ||
           cs == LTI_COLORSPACE_RGB || cs == LTI_COLORSPACE_RGBA || cs == LTI_COLORSPACE_CMYK;
}

template <class T>
void CmykRow(const LTISceneBuffer &in, LTISceneBuffer &out, lt_uint32 row, lt_uint32 outRow,
             lt_uint32 width, double maxValue) {
    const T *c = reinterpret_cast<const T *>(in.getRow(0, row));
    const T *m = reinterpret_cast<const T *>(in.getRow(1, row));
    const T *y = reinterpret_cast<const T *>(in.getRow(2, row));
    const T *k = reinterpret_cast<const T *>(in.getRow(3, row));
    T *rgb[3] = {reinterpret_cast<T *>(out.getRow(0, outRow)),
                 reinterpret_cast<T *>(out.getRow(1, outRow)),
                 reinterpret_cast<T *>(out.getRow(2, outRow))};
    const T *ink[3] = {c, m, y};
    for (lt_uint32 x = 0; x < width; ++x) {
        const double white = maxValue - static_cast<double>(k[x]);
        for (int b = 0; b < 3; ++b) {
            const double v = (maxValue - static_cast<double>(ink[b][x])) * white / maxValue;
            rgb[b][x] = detail::ClampTo<T>(v, 0.0, maxValue);
        }
    }
}

template <class T> void FillRow(lt_uint8 *row, lt_uint32 width, double value) {
    T *p = reinterpret_cast<T *>(row);
    const T v = static_cast<T>(value);
    for (lt_uint32 x = 0; x < width; ++x)
        p[x] = v;
}

} // namespace

LT_STATUS LTIColorTransformer::initialize(LTIImageStage *source, const LTIPixel &pixel) {
    if (source == nullptr)
        return LT_STS_BadParam;
    const LTIColorSpace dst = pixel.getColorSpace();
    const bool rgb = dst == LTI_COLORSPACE_RGB && pixel.getNumBands() == 3;
    const bool rgba = dst == LTI_COLORSPACE_RGBA && pixel.getNumBands() == 4;
    if (!(rgb || rgba) || !IsSupportedSource(source->getColorSpace()))
        return setLastStatus(LTI_STS_UnsupportedColorSpace,
                             "no conversion from colour space " +
                                 std::to_string(source->getColorSpace()) + " to " +
                                 std::to_string(dst));
    if (pixel.getDataType() != source->getDataType())
        return setLastStatus(LTI_STS_UnsupportedDataType,
                             "the colour transformer keeps the source's data type");
    const double minMag = source->getMinMagnification();
    if (const LT_STATUS status =
            setImageProps(source->getWidth(), source->getHeight(), pixel, minMag))
        return status;
    setSource(source);
    source_ = source;
    handOnRanges();
    return LT_STS_Success;
}

// Grey spreads its one range over red, green and blue; RGB keeps its bands' ranges; CMYK gives
// 0 up to the inks' full value, as convert() computes. Alpha keeps its range, and an alpha
// made here is opaque at the top of the type's range.
void LTIColorTransformer::handOnRanges() {
    const LTIColorSpace src = source_->getColorSpace();
    const bool grey = src == LTI_COLORSPACE_GRAYSCALE || src == LTI_COLORSPACE_GRAYSCALEA;
    for (lt_uint16 b = 0; b < 3; ++b) {
        if (src == LTI_COLORSPACE_CMYK)
            setDynamicRange(b, 0.0, source_->getMaxDynamicRange());
        else
            setDynamicRange(b, source_->getMinDynamicRange(grey ? 0 : b),
                            source_->getMaxDynamicRange(grey ? 0 : b));
    }
    if (getNumBands() < 4)
        return;
    const auto srcAlpha = static_cast<lt_uint16>(source_->getNumBands() - 1);
    if (LTIUtils::hasAlphaBand(src))
        setDynamicRange(3, source_->getMinDynamicRange(srcAlpha),
                        source_->getMaxDynamicRange(srcAlpha));
    else
        setDynamicRange(3, LTIUtils::getTypeMin(getDataType()), LTIUtils::getTypeMax(getDataType()));
}

LT_STATUS LTIColorTransformer::decode(const Window &window, LTISceneBuffer &buffer) {
    const LTIScene scene(window.x, window.y, window.width, window.height, 1.0 / window.reduction);
    if (source_->getPixelProps() == getPixelProps())
        return source_->read(scene, buffer);
    return readInRowBands(*source_, window, [&](const LTISceneBuffer &in, lt_uint32 top,
                                                lt_uint32 rows) {
        convert(in, buffer, window.width, rows, top);
    });
}

void LTIColorTransformer::convert(const LTISceneBuffer &in, LTISceneBuffer &out, lt_uint32 width,
                                  lt_uint32 rows, lt_uint32 outTop) const {
    const LTIColorSpace src = source_->getColorSpace();
    const lt_uint32 bytes = getPixelProps().getNumBytesPerSample() * width;
    const double maxValue = source_->getMaxDynamicRange();
    const bool grey = src == LTI_COLORSPACE_GRAYSCALE || src == LTI_COLORSPACE_GRAYSCALEA;
    const bool srcAlpha = LTIUtils::hasAlphaBand(src);
    const lt_uint16 srcAlphaBand = static_cast<lt_uint16>(source_->getNumBands() - 1);
    for (lt_uint32 row = 0; row < rows; ++row) {
        const lt_uint32 outRow = outTop + row;
        if (src == LTI_COLORSPACE_CMYK)
            detail::DispatchDataType(getDataType(), [&](auto t) {
                CmykRow<decltype(t)>(in, out, row, outRow, width, maxValue);
            });
        else
            for (lt_uint16 b = 0; b < 3; ++b)
                std::memcpy(out.getRow(b, outRow), in.getRow(grey ? 0 : b, row), bytes);
        if (getNumBands() < 4)
            continue;
        if (srcAlpha)
            std::memcpy(out.getRow(3, outRow), in.getRow(srcAlphaBand, row), bytes);
        else
            detail::DispatchDataType(getDataType(), [&](auto t) {
                FillRow<decltype(t)>(out.getRow(3, outRow), width,
                                     LTIUtils::getTypeMax(getDataType()));
            });
    }
}

} // namespace LizardTech
