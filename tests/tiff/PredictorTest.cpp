// Predictors: horizontal differencing per sample size, sample count and byte order, and the
// floating point predictor's byte planes.
#include "StripTestData.h"
#include "Subsystems/TiffImage/TiffPredictor.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

namespace {

using tiff::test::Bytes;

Bytes Random(size_t n, uint32_t seed) {
    std::mt19937 rng(seed);
    Bytes v(n);
    for (auto &b : v)
        b = static_cast<uint8_t>(rng());
    return v;
}

TEST(Predictor, HorizontalKnownRows) {
    const struct {
        const char *name;
        Bytes row;
        uint32_t samples;
        uint32_t bits;
        bool bigEndian;
        Bytes expected;
    } cases[] = {
        {"8-bit RGB per channel, wrapping",
         {10, 20, 30, 1, 2, 3, 255, 0, 1},
         3,
         8,
         false,
         {10, 20, 30, 11, 22, 33, 10, 22, 34}},
        {"16-bit big-endian", {0x00, 0x80, 0x00, 0x80}, 1, 16, true, {0x00, 0x80, 0x01, 0x00}},
        {"16-bit little-endian", {0x00, 0x80, 0x00, 0x80}, 1, 16, false, {0x00, 0x80, 0x00, 0x00}},
        {"32-bit big-endian carries",
         {0, 0, 0, 0xFF, 0, 0, 0, 1},
         1,
         32,
         true,
         {0, 0, 0, 0xFF, 0, 0, 1, 0}},
        {"32-bit little-endian carries",
         {0xFF, 0, 0, 0, 1, 0, 0, 0},
         1,
         32,
         false,
         {0xFF, 0, 0, 0, 0, 1, 0, 0}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        Bytes row = c.row;
        const size_t pixels = row.size() * 8 / c.bits / c.samples;
        EXPECT_TRUE(
            tiff::UndoHorizontalDifferencing(row.data(), pixels, c.samples, c.bits, c.bigEndian));
        EXPECT_TRUE(row == c.expected);
    }
}

// Row lengths around the 16-byte blocks of the vector paths.
TEST(Predictor, HorizontalInvertsDifferencing) {
    struct Layout {
        uint32_t bits;
        uint32_t samples;
    };
    std::vector<Layout> layouts;
    for (uint32_t bits : {8u, 16u, 32u})
        for (uint32_t samples : {1u, 2u, 3u, 4u, 5u, 7u, 8u})
            layouts.push_back({bits, samples});
    for (size_t pixels : {1, 2, 5, 6, 11, 16, 17, 57, 301}) {
        for (const Layout &l : layouts) {
            for (bool bigEndian : {false, true}) {
                SCOPED_TRACE(std::to_string(pixels) + " pixels, " + std::to_string(l.bits) + " x" +
                             std::to_string(l.samples) + (bigEndian ? " MM" : " II"));
                const Bytes original =
                    Random(pixels * l.samples * l.bits / 8, l.bits * l.samples + pixels);
                Bytes row = original;
                tiff::test::DifferenceRow(row.data(), pixels, l.samples, l.bits / 8, bigEndian);
                EXPECT_TRUE(tiff::UndoHorizontalDifferencing(row.data(), pixels, l.samples, l.bits,
                                                             bigEndian));
                EXPECT_TRUE(row == original);
            }
        }
    }
}

TEST(Predictor, UnsupportedSampleSizesFail) {
    Bytes row(64, 1);
    const Bytes untouched = row;
    for (uint32_t bits : {1u, 4u, 12u, 24u, 64u})
        EXPECT_FALSE(tiff::UndoHorizontalDifferencing(row.data(), 2, 1, bits, false)) << bits;
    for (uint32_t bits : {8u, 16u, 24u})
        EXPECT_FALSE(tiff::UndoFloatingPointPredictor(row.data(), 2, 1, bits, row.data())) << bits;
    EXPECT_TRUE(row == untouched);

    tiff::PredictorRows rows;
    rows.data = row.data();
    rows.rows = 2;
    rows.bytesPerRow = 32;
    rows.pixelsPerRow = 32 / 3;
    rows.bitsPerSample = 8;
    rows.samplesPerPixel = 3;
    EXPECT_TRUE(tiff::UndoPredictor(2, rows));
    rows.bitsPerSample = 24;
    rows.pixelsPerRow = 32 / 3;
    rows.samplesPerPixel = 1;
    EXPECT_FALSE(tiff::UndoPredictor(2, rows));
    EXPECT_FALSE(tiff::UndoPredictor(3, rows));
    // Other predictor values leave the rows alone.
    row = untouched;
    rows.data = row.data();
    for (uint32_t predictor : {0u, 1u, 4u, 255u})
        EXPECT_TRUE(tiff::UndoPredictor(predictor, rows));
    EXPECT_TRUE(row == untouched);
}

TEST(Predictor, FloatingPointRegroupsPlanes) {
    // Two 32-bit values 0x11223344 and 0xAABBCCDD as planes (most significant first), with
    // byte differences at a stride of one sample.
    const Bytes planes = {0x11, 0xAA, 0x22, 0xBB, 0x33, 0xCC, 0x44, 0xDD};
    Bytes row(planes.size());
    row[0] = planes[0];
    for (size_t i = 1; i < planes.size(); ++i)
        row[i] = static_cast<uint8_t>(planes[i] - planes[i - 1]);
    Bytes scratch(row.size());
    EXPECT_TRUE(tiff::UndoFloatingPointPredictor(row.data(), 2, 1, 32, scratch.data()));
    EXPECT_TRUE(row == (Bytes{0x44, 0x33, 0x22, 0x11, 0xDD, 0xCC, 0xBB, 0xAA}));
}

TEST(Predictor, FloatingPointInvertsEncoding) {
    const size_t rowCount = 3;
    const struct {
        size_t pixels;
        uint32_t bits;
        uint32_t samples;
    } cases[] = {{23, 32, 1}, {23, 32, 2}, {23, 64, 4}, {23, 64, 5},
                 {1, 32, 1},  {64, 32, 1}, {64, 64, 3}, {5, 32, 3}};
    for (const auto &c : cases) {
        SCOPED_TRACE(std::to_string(c.pixels) + " pixels, " + std::to_string(c.bits) + " x" +
                     std::to_string(c.samples));
        const size_t rowBytes = c.pixels * c.samples * c.bits / 8;
        const Bytes original = Random(rowBytes * rowCount, c.bits + c.samples);
        Bytes strip;
        for (size_t y = 0; y < rowCount; ++y) {
            const Bytes row = tiff::test::FloatPredictRow(
                std::span(original).subspan(y * rowBytes, rowBytes), c.samples, c.bits / 8);
            strip.insert(strip.end(), row.begin(), row.end());
        }
        tiff::PredictorRows rows;
        rows.data = strip.data();
        rows.rows = rowCount;
        rows.bytesPerRow = rowBytes;
        rows.pixelsPerRow = c.pixels;
        rows.samplesPerPixel = c.samples;
        rows.bitsPerSample = c.bits;
        EXPECT_TRUE(tiff::UndoPredictor(3, rows));
        EXPECT_TRUE(strip == original);
    }
}

} // namespace
