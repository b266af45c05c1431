// LTIImageStage: one stage of a decoding pipeline (a reader or a filter). It describes the
// image it delivers and reads scenes of it into scene buffers.
#pragma once
#include "LTIGeoCoord.h"
#include "LTIMetadata.h"
#include "LTIPixel.h"
#include "LTIScene.h"
#include "LTISceneBuffer.h"
#include "LTIStatus.h"

#include <algorithm>
#include <cstdint>
#include <vector>

namespace LizardTech {

class LTIImageStage {
public:
    virtual ~LTIImageStage();
    LTIImageStage(const LTIImageStage &) = delete;
    LTIImageStage &operator=(const LTIImageStage &) = delete;

    // Gives the stage back (stages are made with their class's create()).
    void release() { delete this; }

    lt_uint32 getWidth() const { return width_; }
    lt_uint32 getHeight() const { return height_; }
    const LTIPixel &getPixelProps() const { return pixel_; }
    lt_uint16 getNumBands() const { return pixel_.getNumBands(); }
    LTIColorSpace getColorSpace() const { return pixel_.getColorSpace(); }
    LTIDataType getDataType() const { return pixel_.getDataType(); }
    // The smallest magnification scenes may ask for (1 / the largest reduction), and 1.
    double getMinMagnification() const { return minMag_; }
    double getMaxMagnification() const { return 1.0; }
    // Image size at `mag`: the full size × mag, rounded up.
    LT_STATUS getDimsAtMag(double mag, lt_uint32 &width, lt_uint32 &height) const;
    // The range of sample values band `band` declares (the data type's range by default).
    double getMinDynamicRange(lt_uint16 band) const;
    double getMaxDynamicRange(lt_uint16 band) const;
    // The range over all bands: the lowest band minimum and the highest band maximum.
    double getMinDynamicRange() const;
    double getMaxDynamicRange() const;
    // Filters hand on the metadata and georeferencing of the stage they read.
    const LTIMetadataDatabase &getMetadata() const;
    const LTIGeoCoord &getGeoCoord() const;

    // Reads `scene` into `buffer` (band-planar, of this stage's bands and data type, at least
    // the scene's size). The scene must have whole-pixel bounds inside the image at its
    // magnification, which must be a power-of-two reduction from 1 down to the minimum.
    LT_STATUS read(const LTIScene &scene, LTISceneBuffer &buffer);

protected:
    LTIImageStage() = default;

    struct Window { // a checked scene in whole pixels
        lt_uint32 x, y, width, height;
        lt_uint32 reduction; // 1 / magnification
    };
    // Decodes a checked, non-empty window into buffer (rows of buffer.getNumCols() samples).
    virtual LT_STATUS decode(const Window &window, LTISceneBuffer &buffer) = 0;

    LT_STATUS setImageProps(lt_uint32 width, lt_uint32 height, const LTIPixel &pixel,
                            double minMag);
    void setDynamicRange(double minValue, double maxValue); // every band
    void setDynamicRange(lt_uint16 band, double minValue, double maxValue);
    void setSource(const LTIImageStage *source) { source_ = source; }
    // Filters read their source in bands of rows of a few MiB, so that their working memory
    // is bounded whatever the window. `convert(in, top, rows)` gets each band: window rows
    // top .. top + rows - 1, in the first `rows` rows of `in`.
    template <class Convert>
    static LT_STATUS readInRowBands(LTIImageStage &source, const Window &window, Convert convert);
    LTIMetadataDatabase &metadata() { return metadata_; }
    void setGeoCoord(const LTIGeoCoord &geo) { geo_ = geo; }
    bool isInitialized() const { return initialized_; }

private:
    LT_STATUS checkScene(const LTIScene &scene, const LTISceneBuffer &buffer, Window &window);

    bool initialized_ = false;
    lt_uint32 width_ = 0;
    lt_uint32 height_ = 0;
    LTIPixel pixel_;
    double minMag_ = 1.0;
    struct Range {
        double min, max;
    };
    std::vector<Range> ranges_; // one per band
    const LTIImageStage *source_ = nullptr;
    LTIMetadataDatabase metadata_;
    LTIGeoCoord geo_;
};

template <class Convert>
LT_STATUS LTIImageStage::readInRowBands(LTIImageStage &source, const Window &window,
                                        Convert convert) {
    constexpr uint64_t kBandBytes = 4u << 20;
    const LTIPixel &pixel = source.getPixelProps();
    const uint64_t rowBytes =
        std::max<uint64_t>(uint64_t{window.width} * pixel.getNumBands() * pixel.getNumBytesPerSample(), 1);
    const auto rows =
        static_cast<lt_uint32>(std::clamp<uint64_t>(kBandBytes / rowBytes, 1, window.height));
    LTISceneBuffer in(pixel, window.width, rows);
    for (lt_uint32 top = 0; top < window.height; top += rows) {
        const lt_uint32 n = std::min(rows, window.height - top);
        const LTIScene scene(window.x, window.y + top, window.width, n, 1.0 / window.reduction);
        if (const LT_STATUS status = source.read(scene, in))
            return status;
        convert(in, top, n);
    }
    return LT_STS_Success;
}

} // namespace LizardTech
