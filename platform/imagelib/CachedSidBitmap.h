// CachedSidBitmap: a whole image file at full resolution, decoded block by block on demand
// through the decode-engine seam and kept in a cache of bounded size, so the memory it takes
// does not grow with the image.
#pragma once
#include "imagelib/CachedBitmap.h"

#include <cstdint>
#include <list>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace imagelib {

class CachedSidBitmap : public CachedBitmap {
public:
    static constexpr uint32_t kBlockSize = 256;
    static constexpr size_t kDefaultCacheBytes = size_t{32} << 20;

    // `name` and `description` label the image for the host (the file's name when empty);
    // `logFailures` sends decoding failures to the log as well as to GetErrorText().
    CachedSidBitmap(std::wstring name, std::wstring description, bool logFailures);
    ~CachedSidBitmap() override;

    // Opens `path`. `cacheMegabytes` bounds the block cache (0: 32 MiB); `withAlpha` delivers
    // Bgra32 even for an image without alpha (its fourth byte then 255). False with
    // GetErrorText() when the file cannot be read.
    bool Open(const std::wstring &path, unsigned int cacheMegabytes, bool withAlpha);

    uint32_t GetWidth() const override { return width_; }
    uint32_t GetHeight() const override { return height_; }
    shr::ColorFormat GetColorFormat() const override;
    bool ReadRow(uint32_t row, uint8_t *dest) override;
    const wchar_t *GetErrorText() const override { return errorText_.c_str(); }
    const std::wstring &GetName() const { return name_; }
    const std::wstring &GetDescription() const { return description_; }
    // Blocks decoded so far (a block read again after being dropped counts again).
    uint64_t GetBlocksDecoded() const { return blocksDecoded_; }
    size_t GetCachedBlockCount() const { return blocks_.size(); }

private:
    struct Pipeline;
    using BlockKey = std::pair<uint32_t, uint32_t>; // block column, block row
    struct Block {
        std::vector<uint8_t> pixels; // rows of block width × bytes per pixel
        std::list<BlockKey>::iterator age;
    };

    const Block *GetBlock(uint32_t column, uint32_t row);
    bool DecodeBlock(uint32_t column, uint32_t row, std::vector<uint8_t> &pixels);
    void Fail(const std::wstring &text);

    std::wstring name_, description_;
    bool logFailures_;
    std::wstring errorText_;
    std::unique_ptr<Pipeline> pipeline_;
    uint32_t width_ = 0, height_ = 0;
    uint32_t bytesPerPixel_ = 3;
    size_t capacity_ = 1; // blocks
    std::map<BlockKey, Block> blocks_;
    std::list<BlockKey> ages_; // most recently used first
    uint64_t blocksDecoded_ = 0;
};

} // namespace imagelib
