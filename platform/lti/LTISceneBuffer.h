// LTISceneBuffer: band-planar samples of a scene, one plane per band, rows of getNumCols()
// samples. It either wraps the caller's planes or owns planes of its own.
#pragma once
#include "LTIPixel.h"

#include <memory>
#include <vector>

namespace LizardTech {

class LTISceneBuffer {
public:
    // Wraps `bandData` (one pointer per band of `pixel`, each plane at least cols × rows
    // samples). `reserved` must be null.
    LTISceneBuffer(const LTIPixel &pixel, lt_uint32 numCols, lt_uint32 numRows, void **bandData,
                   void *reserved = nullptr);
    // Allocates zeroed planes of its own; throws std::bad_alloc when that fails.
    LTISceneBuffer(const LTIPixel &pixel, lt_uint32 numCols, lt_uint32 numRows);
    LTISceneBuffer(const LTISceneBuffer &) = delete;
    LTISceneBuffer &operator=(const LTISceneBuffer &) = delete;

    const LTIPixel &getPixelProps() const { return pixel_; }
    lt_uint32 getNumCols() const { return cols_; }
    lt_uint32 getNumRows() const { return rows_; }
    // Start of a band's plane; null for a band the buffer does not have.
    void *getBandData(lt_uint16 band) const;
    // Start of row `row` of a band's plane.
    lt_uint8 *getRow(lt_uint16 band, lt_uint32 row) const;

private:
    LTIPixel pixel_;
    lt_uint32 cols_;
    lt_uint32 rows_;
    std::vector<void *> planes_;
    std::unique_ptr<lt_uint8[]> owned_;
};

} // namespace LizardTech
