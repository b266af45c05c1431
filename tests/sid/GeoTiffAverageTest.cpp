// Reductions the GeoTIFF engine averages (no overview matches): every output pixel against the
// block mean computed here, over sample types, partial blocks at the right and bottom edges,
// windows inside the image, and rows too wide for one output row to be read at once; and the
// heap such a read takes on images too large to hold. This program counts every heap
// allocation (it replaces the global allocation functions), so it runs on its own.
#include "StripTiff.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <limits>
#include <new>

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
using sidtest::Bytes;
using sidtest::StripTiff;

namespace {

// A well-mixed value for pixel (x, y), band b.
uint32_t Mix(uint32_t x, uint32_t y, uint32_t b) {
    uint32_t h = x * 0x9E3779B1u ^ (y + 0x7F4A7C15u) * 0x85EBCA77u ^ b * 0xC2B2AE3Du;
    h ^= h >> 15;
    h *= 0x2C1B3C6Du;
    return h ^ (h >> 13);
}

struct AverageCase {
    const char *name;
    uint32_t width, height;
    uint16_t samples, bits, sampleFormat; // grey or two bands
    uint32_t rowsPerStrip;
    // The stored sample (band b of pixel x, y) as the file holds it, in a double.
    std::function<double(uint32_t x, uint32_t y, uint32_t b)> stored;
};

double Float64Sample(uint32_t x, uint32_t y, uint32_t b) {
    const uint32_t m = Mix(x, y, b);
    if (m % 4099 == 0)
        return std::numeric_limits<double>::quiet_NaN();
    if (m % 5003 == 0)
        return -std::numeric_limits<double>::infinity();
    return (m % 2000001) / 8.0 - 125000.0;
}

const AverageCase kCases[] = {
    {"uint16 odd size", 1031, 517, 1, 16, 1, 9,
     [](uint32_t x, uint32_t y, uint32_t) { return double(Mix(x, y, 0) & 0xFFFF); }},
    {"int8 tall", 301, 1500, 1, 8, 2, 64,
     [](uint32_t x, uint32_t y, uint32_t) { return double(int(Mix(x, y, 0) % 256) - 128); }},
    // Rows of 144,000 bytes: one output row at a reduction of 32 needs more level rows than
    // are read at a time.
    {"float64 two bands wide", 9000, 70, 2, 64, 3, 5, Float64Sample},
};

Bytes BuildImage(const AverageCase &c) {
    StripTiff b(c.width, c.height, c.samples, c.bits, 1, c.rowsPerStrip);
    if (c.sampleFormat != 1)
        b.Short(339, std::vector<uint64_t>(c.samples, c.sampleFormat));
    for (uint32_t top = 0; top < c.height; top += c.rowsPerStrip) {
        Bytes strip;
        for (uint32_t y = top; y < std::min(c.height, top + c.rowsPerStrip); ++y)
            for (uint32_t x = 0; x < c.width; ++x)
                for (uint32_t s = 0; s < c.samples; ++s) {
                    const double v = c.stored(x, y, s);
                    uint64_t bits = 0;
                    if (c.sampleFormat == 3)
                        std::memcpy(&bits, &v, 8);
                    else
                        bits = static_cast<uint64_t>(static_cast<int64_t>(v));
                    b.Put(strip, bits, c.bits / 8);
                }
        b.Strip(strip);
    }
    return b.Build();
}

// The mean of the k × k block behind output pixel (ox, oy), clipped to the image: the mean of
// each row's mean.
double BlockMean(const AverageCase &c, uint32_t k, uint32_t ox, uint32_t oy, uint32_t b) {
    const uint32_t x0 = ox * k, x1 = std::min(x0 + k, c.width);
    const uint32_t y0 = oy * k, y1 = std::min(y0 + k, c.height);
    double rows = 0.0;
    for (uint32_t y = y0; y < y1; ++y) {
        double row = 0.0;
        for (uint32_t x = x0; x < x1; ++x)
            row += c.stored(x, y, b);
        rows += row / (x1 - x0);
    }
    return rows / (y1 - y0);
}

// The sample at output pixel (ox, oy) of band b of `buffer`, as a double.
double BufferValue(const LTISceneBuffer &buffer, uint32_t ox, uint32_t oy, uint16_t b) {
    const uint8_t *row = buffer.getRow(b, oy);
    switch (buffer.getPixelProps().getDataType()) {
    case LTI_DATATYPE_UINT16:
        return reinterpret_cast<const uint16_t *>(row)[ox];
    case LTI_DATATYPE_SINT8:
        return reinterpret_cast<const int8_t *>(row)[ox];
    case LTI_DATATYPE_FLOAT64:
        return reinterpret_cast<const double *>(row)[ox];
    default:
        ADD_FAILURE() << "unexpected data type";
        return 0;
    }
}

// The block mean as the engine's data type holds it: integers rounded half away from zero.
double Expected(const LTISceneBuffer &buffer, double mean) {
    if (buffer.getPixelProps().getDataType() == LTI_DATATYPE_FLOAT64)
        return mean;
    return mean < 0 ? std::ceil(mean - 0.5) : std::floor(mean + 0.5);
}

bool SameValue(double a, double b) { return a == b || (std::isnan(a) && std::isnan(b)); }

// Scenes at `k`: the whole image, one reaching the bottom-right corner from an odd position,
// and a single row through the middle.
std::vector<LTIScene> ScenesAt(uint32_t width, uint32_t height, uint32_t k) {
    const double mag = 1.0 / k;
    return {LTIScene(0, 0, width, height, mag),
            LTIScene(width / 3 | 1, height / 2 | 1, width - (width / 3 | 1),
                     height - (height / 2 | 1), mag),
            LTIScene(width / 5, height / 2, width - width / 5, 1, mag)};
}

// Reads `scene` at reduction k; counts the output samples that differ from their block mean.
int Mismatches(MrSIDImageReader *reader, const AverageCase &c, uint32_t k, const LTIScene &scene) {
    const auto x0 = static_cast<uint32_t>(scene.getUpperLeftCol());
    const auto y0 = static_cast<uint32_t>(scene.getUpperLeftRow());
    const auto w = static_cast<uint32_t>(scene.getNumCols());
    const auto h = static_cast<uint32_t>(scene.getNumRows());
    LTISceneBuffer buffer(reader->getPixelProps(), w, h);
    if (reader->read(scene, buffer) != LT_STS_Success)
        return ADD_FAILURE() << c.name << " k " << k << ": read failed", -1;
    int mismatches = 0;
    for (uint16_t b = 0; b < reader->getNumBands(); ++b)
        for (uint32_t oy = 0; oy < h; ++oy)
            for (uint32_t ox = 0; ox < w; ++ox) {
                const double want = Expected(buffer, BlockMean(c, k, x0 + ox, y0 + oy, b));
                const double got = BufferValue(buffer, ox, oy, b);
                if (!SameValue(got, want) && ++mismatches <= 3)
                    ADD_FAILURE() << c.name << " k " << k << " pixel " << x0 + ox << "," << y0 + oy
                                  << " band " << b << ": " << got << " instead of " << want;
            }
    return mismatches;
}

TEST(GeoTiffAverage, EveryOutputPixelIsTheMeanOfItsClippedBlock) {
    for (const auto &c : kCases) {
        const sidtest::OpenReader image(sidtest::ScratchFile("average.tif", BuildImage(c)));
        ASSERT_EQ(image.status, LT_STS_Success) << c.name;
        for (uint32_t k = 2; 1.0 / k >= image.reader->getMinMagnification(); k *= 2) {
            lt_uint32 width = 0, height = 0;
            image.reader->getDimsAtMag(1.0 / k, width, height);
            for (const LTIScene &scene : ScenesAt(width, height, k))
                EXPECT_EQ(Mismatches(image.reader, c, k, scene), 0)
                    << c.name << " k " << k << " scene at " << scene.getUpperLeftCol() << ","
                    << scene.getUpperLeftRow();
        }
    }
}

// What a read may hold beyond its output: level rows and sums, a few MiB (full-width rows of
// an uncompressed strip bypass the strip cache). One output row's worth of level rows of the
// wide image would take 64 MiB.
constexpr size_t kReadBudget = 8u << 20;

TEST(GeoTiffAverage, ImagesTooLargeToHoldAreAveragedWithinABoundedBudget) {
    // 16-bit grey in one strip; the longer side needs a reduction of 256 to fit 512 pixels.
    const auto sample = [](uint32_t x, uint32_t y, uint32_t) {
        return double(97 * (x / 256) + 13 * (y / 256) + x % 256 + y % 256);
    };
    const AverageCase cases[] = {{"wide", 131072, 256, 1, 16, 1, 256, sample},
                                 {"tall", 256, 131072, 1, 16, 1, 131072, sample}};
    for (const auto &c : cases) {
        const sidtest::OpenReader image(sidtest::ScratchFile("average.tif", BuildImage(c)));
        ASSERT_EQ(image.status, LT_STS_Success) << c.name;
        ASSERT_DOUBLE_EQ(image.reader->getMinMagnification(), 1.0 / 256) << c.name;
        const size_t before = gLiveBytes.load();
        gPeakBytes = before;
        EXPECT_EQ(Mismatches(image.reader, c, 256,
                             LTIScene(0, 0, c.width / 256, c.height / 256, 1.0 / 256)),
                  0);
        EXPECT_LT(gPeakBytes.load() - before, kReadBudget) << c.name;
    }
}

} // namespace
