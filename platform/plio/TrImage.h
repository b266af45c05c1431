// TrImage: an image handed to the host, either as rows streamed to the host while the filter
// produces them, or as a cached bitmap the host reads itself.
#pragma once
#include "plio/ScanlineReceiver.h"
#include "plio/TrBase.h"
#include "shr/ColorFormat.h"
#include "shr/Progress.h"

#include <memory>
#include <vector>

namespace imagelib {
class CachedBitmap;
}

namespace plio {

// Order in which rows are given: 0 is top row first, the only order this framework takes.
enum RowAccessOrder : int { RowOrderTopDown = 0 };

class TrImage : public TrBase {
public:
    TrImage();
    // Wraps a bitmap; `owns`: the image deletes it.
    TrImage(imagelib::CachedBitmap *bitmap, bool owns);
    ~TrImage() override; // drops rows never handed over; never throws
    static const shr::CTypeInfo *GetClassTypeId();
    const shr::CTypeInfo *GetTypeId() const override { return GetClassTypeId(); }

    // Starts a row image. xDpi, yDpi: resolution, 0 when unknown. The palette (paletteCount
    // entries) is for indexed formats, which this framework does not take: pass none. The rows
    // go to the host of `progress`, which must come from a plio::CProgress.
    void SetScanlineStart(int width, int height, shr::ColorFormat format, int xDpi, int yDpi,
                          const shr::RgbQuad *palette, RowAccessOrder order,
                          unsigned int paletteCount, shr::IProgress *progress);
    // Rows in order from 0, each of the layout's rowBytes.
    void SetScanline(const void *row, int index);
    void SetScanlineEnd(const shr::RgbQuad *palette, unsigned int count);

    // The host's view.
    imagelib::CachedBitmap *GetBitmap() const { return bitmap_; }
    const ScanlineLayout &GetLayout() const { return layout_; }
    ScanlineReceiver *GetReceiver() const { return receiver_.get(); }
    bool IsComplete() const { return complete_; }

private:
    [[noreturn]] void Fail(int line, const wchar_t *message) const;

    imagelib::CachedBitmap *bitmap_ = nullptr;
    bool ownsBitmap_ = false;
    ScanlineLayout layout_;
    std::unique_ptr<ScanlineReceiver> receiver_;
    uint32_t nextRow_ = 0;
    bool complete_ = false;
};

} // namespace plio
