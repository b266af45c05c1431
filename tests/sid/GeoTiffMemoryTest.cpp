// Heap use of the GeoTIFF engine on images too large to hold: a computed TIFF served through
// a stream, read at reductions no overview provides, with every heap allocation counted.
// This program replaces the global allocation functions, so it runs on its own.
#include "lti/MrSIDImageReader.h"
#include "support/TiffWriter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>

namespace {

// Live heap bytes and their high-water mark; each block carries its size in front of it.
std::atomic<size_t> gLiveBytes{0};
std::atomic<size_t> gPeakBytes{0};
constexpr size_t kHeader = alignof(std::max_align_t);

void *CountedAllocate(size_t size) {
    void *block = std::malloc(size + kHeader);
    if (block == nullptr)
        throw std::bad_alloc();
    std::memcpy(block, &size, sizeof size);
    const size_t live = gLiveBytes += size;
    size_t peak = gPeakBytes.load();
    while (live > peak && !gPeakBytes.compare_exchange_weak(peak, live)) {
    }
    return static_cast<char *>(block) + kHeader;
}

void CountedFree(void *p) {
    if (p == nullptr)
        return;
    void *block = static_cast<char *>(p) - kHeader;
    size_t size = 0;
    std::memcpy(&size, block, sizeof size);
    gLiveBytes -= size;
    std::free(block);
}

} // namespace

void *operator new(size_t size) { return CountedAllocate(size); }
void *operator new[](size_t size) { return CountedAllocate(size); }
void operator delete(void *p) noexcept { CountedFree(p); }
void operator delete[](void *p) noexcept { CountedFree(p); }
void operator delete(void *p, size_t) noexcept { CountedFree(p); }
void operator delete[](void *p, size_t) noexcept { CountedFree(p); }

using namespace LizardTech;

namespace {

// A 16-bit grey, uncompressed, single-strip TIFF whose pixels are computed when read. Sample
// (x, y) is 97·(x / 256) + 13·(y / 256) + x % 256 + y % 256, so every aligned 256 × 256
// block averages to its first sample + 255 exactly.
class ComputedTiffStream final : public LTIOStreamInf {
public:
    ComputedTiffStream(uint32_t width, uint32_t height) : width_(width), height_(height) {
        BuildHeader();
    }

    static uint16_t Sample(uint64_t x, uint64_t y) {
        return static_cast<uint16_t>(97 * (x / 256) + 13 * (y / 256) + x % 256 + y % 256);
    }

    bool isEOF() override { return position_ >= size(); }
    bool isOpen() override { return open_; }
    LT_STATUS open() override {
        open_ = true;
        position_ = 0;
        return LT_STS_Success;
    }
    LT_STATUS close() override {
        open_ = false;
        return LT_STS_Success;
    }
    lt_uint32 read(lt_uint8 *dest, lt_uint32 numBytes) override {
        const uint64_t end = std::min<uint64_t>(position_ + numBytes, size());
        for (uint64_t at = position_; at < end; ++at)
            *dest++ = ByteAt(at);
        const auto got = static_cast<lt_uint32>(end > position_ ? end - position_ : 0);
        position_ += got;
        return got;
    }
    lt_uint32 write(const lt_uint8 *, lt_uint32) override { return 0; }
    LT_STATUS seek(lt_int64 offset, LTIOSeekDir dir) override {
        const lt_int64 base = dir == LTIO_SEEK_DIR_BEG   ? 0
                              : dir == LTIO_SEEK_DIR_CUR ? static_cast<lt_int64>(position_)
                                                         : static_cast<lt_int64>(size());
        if (base + offset < 0)
            return LT_STS_BadParam;
        position_ = static_cast<uint64_t>(base + offset);
        return LT_STS_Success;
    }
    lt_int64 tell() override { return static_cast<lt_int64>(position_); }
    LTIOStreamInf *duplicate() override { return new ComputedTiffStream(width_, height_); }
    LT_STATUS getLastError() const override { return LT_STS_Success; }
    const char *getID() const override { return "computed"; }

private:
    uint64_t size() const { return header_.size() + uint64_t{width_} * height_ * 2; }

    lt_uint8 ByteAt(uint64_t at) const {
        if (at < header_.size())
            return static_cast<lt_uint8>(header_[at]);
        const uint64_t sample = (at - header_.size()) / 2;
        const uint16_t v = Sample(sample % width_, sample / width_);
        return static_cast<lt_uint8>((at - header_.size()) % 2 ? v >> 8 : v);
    }

    // One strip of raw samples right after the header and directory (all values inline).
    void BuildHeader() {
        using namespace testsupport;
        TiffWriter writer;
        Directory &d = writer.AddDirectory();
        for (auto [tag, value] : {std::pair<uint16_t, uint64_t>{256, width_},
                                  {257, height_},
                                  {278, height_},
                                  {279, uint64_t{width_} * height_ * 2}})
            writer.AddUInts(d, tag, kLong, {value});
        for (auto [tag, value] :
             {std::pair<uint16_t, uint64_t>{258, 16}, {259, 1}, {262, 1}, {277, 1}})
            writer.AddUInts(d, tag, kShort, {value});
        Entry &offset = writer.AddRaw(d, 273, kLong, 1, 0);
        offset.field = writer.Build().size();
        const Bytes header = writer.Build();
        header_.assign(header.begin(), header.end());
    }

    uint32_t width_, height_;
    std::string header_;
    uint64_t position_ = 0;
    bool open_ = false;
};

struct HugeImageCase {
    const char *name;
    uint32_t width, height; // the longer side needs a reduction of 256 to fit 512 pixels
    uint32_t outWidth, outHeight;
};

// What a read may hold beyond its output: level rows and sums, a few MiB (full-width rows of
// an uncompressed strip bypass the strip cache). One output row's worth of level rows of the
// wide image would take 64 MiB.
constexpr size_t kReadBudget = 8u << 20;

TEST(GeoTiffMemory, AveragingWithoutOverviewsStaysWithinABoundedBudget) {
    const HugeImageCase cases[] = {
        {"wide", 131072, 256, 512, 1},
        {"tall", 256, 131072, 1, 512},
    };
    for (const auto &c : cases) {
        ComputedTiffStream stream(c.width, c.height);
        MrSIDImageReader *reader = MrSIDImageReader::create();
        ASSERT_EQ(reader->initialize(&stream, nullptr, MRSID_MEMORY_USAGE_DEFAULT,
                                     MRSID_STREAM_USAGE_CREATE),
                  LT_STS_Success)
            << c.name;
        ASSERT_DOUBLE_EQ(reader->getMinMagnification(), 1.0 / 256) << c.name;
        LTISceneBuffer out(reader->getPixelProps(), c.outWidth, c.outHeight);
        const size_t before = gLiveBytes.load();
        gPeakBytes = before;
        ASSERT_EQ(reader->read(LTIScene(0, 0, c.outWidth, c.outHeight, 1.0 / 256), out),
                  LT_STS_Success)
            << c.name;
        EXPECT_LT(gPeakBytes.load() - before, kReadBudget) << c.name;
        for (uint32_t oy = 0; oy < c.outHeight; ++oy) {
            const auto *row = reinterpret_cast<const uint16_t *>(out.getRow(0, oy));
            for (uint32_t ox = 0; ox < c.outWidth; ++ox)
                ASSERT_EQ(row[ox], ComputedTiffStream::Sample(ox * 256u, oy * 256u) + 255)
                    << c.name << " output pixel " << ox << ", " << oy;
        }
        reader->release();
    }
}

} // namespace
