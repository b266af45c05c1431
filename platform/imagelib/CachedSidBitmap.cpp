// CachedSidBitmap: the pipeline (reader, colour transformer, range filter) and the block cache.
#include "imagelib/CachedSidBitmap.h"

#include "imagelib/FileStream.h"
#include "lti/LTIColorTransformer.h"
#include "lti/LTIDynamicRangeFilter.h"
#include "lti/LTIUtils.h"
#include "lti/MrSIDImageReader.h"
#include "shr/Log.h"
#include "shr/Path.h"
#include "shr/Strings.h"

#include <algorithm>
#include <cstring>

using namespace LizardTech;

namespace imagelib {

struct CachedSidBitmap::Pipeline {
    explicit Pipeline(const std::wstring &path) : stream(path) {}
    ~Pipeline() {
        if (range)
            range->release();
        if (color)
            color->release();
        if (reader)
            reader->release();
    }
    FileStream stream;
    MrSIDImageReader *reader = nullptr;
    LTIColorTransformer *color = nullptr;
    LTIDynamicRangeFilter *range = nullptr;
};

CachedSidBitmap::CachedSidBitmap(std::wstring name, std::wstring description, bool logFailures)
    : name_(std::move(name)), description_(std::move(description)), logFailures_(logFailures) {}

CachedSidBitmap::~CachedSidBitmap() = default;

void CachedSidBitmap::Fail(const std::wstring &text) {
    errorText_ = text;
    if (logFailures_)
        shr::LogMessage(L"CachedSidBitmap: " + text);
}

shr::ColorFormat CachedSidBitmap::GetColorFormat() const {
    return bytesPerPixel_ == 4 ? shr::ColorFormatBgra32 : shr::ColorFormatBgr24;
}

bool CachedSidBitmap::Open(const std::wstring &path, unsigned int cacheMegabytes, bool withAlpha) {
    pipeline_.reset();
    blocks_.clear();
    ages_.clear();
    width_ = height_ = 0;
    if (name_.empty())
        name_ = shr::CPath(path).GetFileName();
    auto pipeline = std::make_unique<Pipeline>(path);
    pipeline->reader = MrSIDImageReader::create();
    LT_STATUS status = pipeline->reader->initialize(
        &pipeline->stream, nullptr, MRSID_MEMORY_USAGE_DEFAULT, MRSID_STREAM_USAGE_CREATE);
    if (status != LT_STS_Success) {
        Fail(L"Cannot open '" + path + L"': " + shr::AtoW(getLastStatusString(status)));
        return false;
    }
    const LTIColorSpace space = pipeline->reader->getColorSpace();
    const bool alpha = LTIUtils::hasAlphaBand(space);
    const lt_uint16 bands = alpha ? 4 : 3;
    LTIImageStage *source = pipeline->reader;
    if (space != (alpha ? LTI_COLORSPACE_RGBA : LTI_COLORSPACE_RGB)) {
        pipeline->color = LTIColorTransformer::create();
        const LTIPixel pixel(alpha ? LTI_COLORSPACE_RGBA : LTI_COLORSPACE_RGB, bands,
                             pipeline->reader->getDataType());
        if ((status = pipeline->color->initialize(pipeline->reader, pixel)) != LT_STS_Success) {
            Fail(L"Cannot turn the colours of '" + path + L"' into RGB: " +
                 shr::AtoW(getLastStatusString(status)));
            return false;
        }
        source = pipeline->color;
    }
    pipeline->range = LTIDynamicRangeFilter::create();
    if ((status = pipeline->range->initialize(source, LTI_DATATYPE_UINT8)) != LT_STS_Success) {
        Fail(L"Cannot scale the samples of '" + path + L"' to 8 bits: " +
             shr::AtoW(getLastStatusString(status)));
        return false;
    }
    width_ = pipeline->range->getWidth();
    height_ = pipeline->range->getHeight();
    bytesPerPixel_ = alpha || withAlpha ? 4 : 3;
    const size_t budget = cacheMegabytes ? size_t{cacheMegabytes} << 20 : kDefaultCacheBytes;
    capacity_ = std::max<size_t>(1, budget / (size_t{kBlockSize} * kBlockSize * bytesPerPixel_));
    pipeline_ = std::move(pipeline);
    errorText_.clear();
    return true;
}

bool CachedSidBitmap::DecodeBlock(uint32_t column, uint32_t row, std::vector<uint8_t> &pixels) {
    LTIDynamicRangeFilter &range = *pipeline_->range;
    const uint32_t x = column * kBlockSize, y = row * kBlockSize;
    const uint32_t w = std::min(kBlockSize, width_ - x), h = std::min(kBlockSize, height_ - y);
    LTISceneBuffer buffer(range.getPixelProps(), w, h);
    const LT_STATUS status = range.read(LTIScene(x, y, w, h, 1.0), buffer);
    if (status != LT_STS_Success) {
        Fail(L"Cannot decode pixels " + std::to_wstring(x) + L"," + std::to_wstring(y) + L" of '" +
             name_ + L"': " + shr::AtoW(getLastStatusString(status)));
        return false;
    }
    const bool alpha = range.getNumBands() == 4;
    pixels.assign(size_t{kBlockSize} * kBlockSize * bytesPerPixel_, 0);
    for (uint32_t r = 0; r < h; ++r) {
        const uint8_t *red = buffer.getRow(0, r), *green = buffer.getRow(1, r),
                      *blue = buffer.getRow(2, r), *a = alpha ? buffer.getRow(3, r) : nullptr;
        uint8_t *out = pixels.data() + size_t{r} * kBlockSize * bytesPerPixel_;
        for (uint32_t c = 0; c < w; ++c, out += bytesPerPixel_) {
            out[0] = blue[c];
            out[1] = green[c];
            out[2] = red[c];
            if (bytesPerPixel_ == 4)
                out[3] = a ? a[c] : 255;
        }
    }
    ++blocksDecoded_;
    return true;
}

const CachedSidBitmap::Block *CachedSidBitmap::GetBlock(uint32_t column, uint32_t row) {
    const BlockKey key{column, row};
    if (auto it = blocks_.find(key); it != blocks_.end()) {
        ages_.splice(ages_.begin(), ages_, it->second.age);
        return &it->second;
    }
    std::vector<uint8_t> pixels;
    if (blocks_.size() >= capacity_) { // reuse the oldest block's memory
        const BlockKey oldest = ages_.back();
        pixels = std::move(blocks_[oldest].pixels);
        blocks_.erase(oldest);
        ages_.pop_back();
    }
    if (!DecodeBlock(column, row, pixels))
        return nullptr;
    ages_.push_front(key);
    Block &block = blocks_[key];
    block.pixels = std::move(pixels);
    block.age = ages_.begin();
    return &block;
}

bool CachedSidBitmap::ReadRow(uint32_t row, uint8_t *dest) {
    if (!pipeline_ || !dest || row >= height_) {
        Fail(L"Row " + std::to_wstring(row) + L" is outside the image.");
        return false;
    }
    const uint32_t blockRow = row / kBlockSize, inBlock = row % kBlockSize;
    for (uint32_t column = 0; column * kBlockSize < width_; ++column) {
        const Block *block = GetBlock(column, blockRow);
        if (!block)
            return false;
        const uint32_t w = std::min(kBlockSize, width_ - column * kBlockSize);
        std::memcpy(dest + size_t{column} * kBlockSize * bytesPerPixel_,
                    block->pixels.data() + size_t{inBlock} * kBlockSize * bytesPerPixel_,
                    size_t{w} * bytesPerPixel_);
    }
    return true;
}

} // namespace imagelib
