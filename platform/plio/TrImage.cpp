// TrImage: row streaming to the host and bitmap wrapping.
#include "plio/TrImage.h"

#include "imagelib/CachedBitmap.h"
#include "plio/Exception.h"
#include "plio/Progress.h"
#include "shr/Log.h"

namespace plio {

namespace {
constexpr const wchar_t *kSource = L"platform/plio/TrImage";
}

TrImage::TrImage() = default;

TrImage::TrImage(imagelib::CachedBitmap *bitmap, bool owns) : bitmap_(bitmap), ownsBitmap_(owns) {
    if (bitmap_) {
        layout_.width = bitmap_->GetWidth();
        layout_.height = bitmap_->GetHeight();
        layout_.format = bitmap_->GetColorFormat();
        layout_.rowBytes = shr::RowBytes(layout_.format, layout_.width);
        complete_ = true;
    }
}

TrImage::~TrImage() {
    try {
        receiver_.reset();
        if (ownsBitmap_)
            delete bitmap_;
    } catch (...) {
        shr::LogExceptionInfo(L"plio", kSource, __LINE__);
    }
}

const shr::CTypeInfo *TrImage::GetClassTypeId() {
    static const shr::CTypeInfo type("plio::TrImage");
    return &type;
}

void TrImage::Fail(int line, const wchar_t *message) const {
    throw Exception(message, kSource, line);
}

void TrImage::SetScanlineStart(int width, int height, shr::ColorFormat format, int, int,
                               const shr::RgbQuad *palette, RowAccessOrder order,
                               unsigned int paletteCount, shr::IProgress *progress) {
    if (bitmap_ || receiver_)
        Fail(__LINE__, L"The image has already been started.");
    if (width <= 0 || height <= 0)
        Fail(__LINE__, L"The image has no pixels.");
    if (shr::RowBytes(format, static_cast<uint32_t>(width)) == 0 || palette || paletteCount)
        Fail(__LINE__, L"The image's pixel format is not one the host takes.");
    if (order != RowOrderTopDown)
        Fail(__LINE__, L"The image's rows must be given top row first.");
    IoManager *manager = CProgress::ManagerOf(progress);
    if (!manager)
        Fail(__LINE__, L"The image has no host to receive its rows.");
    layout_ = {static_cast<uint32_t>(width), static_cast<uint32_t>(height), format,
               shr::RowBytes(format, static_cast<uint32_t>(width))};
    receiver_ = manager->ReceiveScanlines(layout_);
    if (!receiver_)
        Fail(__LINE__, L"The host refused the image.");
}

void TrImage::SetScanline(const void *row, int index) {
    if (!receiver_ || complete_)
        Fail(__LINE__, L"A row was given outside the image.");
    if (index < 0 || static_cast<uint32_t>(index) != nextRow_ || !row)
        Fail(__LINE__, L"The image's rows must be given in order.");
    receiver_->Row(row, nextRow_);
    ++nextRow_;
}

void TrImage::SetScanlineEnd(const shr::RgbQuad *, unsigned int) {
    if (!receiver_ || complete_)
        Fail(__LINE__, L"The image was ended without being started.");
    if (nextRow_ != layout_.height)
        Fail(__LINE__, L"The image was ended before all its rows were given.");
    receiver_->End();
    complete_ = true;
}

} // namespace plio
