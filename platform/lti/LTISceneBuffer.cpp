// Band-planar scene buffers over the caller's memory or their own.
#include "LTISceneBuffer.h"

#include <cstring>

namespace LizardTech {

LTISceneBuffer::LTISceneBuffer(const LTIPixel &pixel, lt_uint32 numCols, lt_uint32 numRows,
                               void **bandData, void *)
    : pixel_(pixel), cols_(numCols), rows_(numRows) {
    if (bandData != nullptr)
        planes_.assign(bandData, bandData + pixel.getNumBands());
    else
        planes_.assign(pixel.getNumBands(), nullptr);
}

LTISceneBuffer::LTISceneBuffer(const LTIPixel &pixel, lt_uint32 numCols, lt_uint32 numRows)
    : pixel_(pixel), cols_(numCols), rows_(numRows) {
    const size_t plane = size_t{numCols} * numRows * pixel.getNumBytesPerSample();
    owned_.reset(new lt_uint8[plane * pixel.getNumBands()]());
    for (lt_uint16 b = 0; b < pixel.getNumBands(); ++b)
        planes_.push_back(owned_.get() + plane * b);
}

void *LTISceneBuffer::getBandData(lt_uint16 band) const {
    return band < planes_.size() ? planes_[band] : nullptr;
}

lt_uint8 *LTISceneBuffer::getRow(lt_uint16 band, lt_uint32 row) const {
    auto *plane = static_cast<lt_uint8 *>(getBandData(band));
    return plane + size_t{row} * cols_ * pixel_.getNumBytesPerSample();
}

} // namespace LizardTech
