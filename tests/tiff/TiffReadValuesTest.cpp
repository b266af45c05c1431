// Entry values in machine order: the same file in both byte orders and both layouts.
#include "Subsystems/TiffImage/TiffRead.h"
#include "support/TiffWriter.h"

#include <gtest/gtest.h>

#include <cstring>

using testsupport::TiffWriter;
using tiff::CTiffReader;
using tiff::TiffEntry;

namespace {

uint64_t FloatBits(float f) {
    uint32_t bits;
    std::memcpy(&bits, &f, 4);
    return bits;
}

std::vector<unsigned char> BuildSample(bool bigEndian, bool bigTiff) {
    TiffWriter b(bigEndian, bigTiff);
    auto &d = b.AddDirectory();
    b.AddUInts(d, 256, 3, {300});
    b.AddUInts(d, 530, 3, {2, 1});
    b.AddUInts(d, 258, 3, {8, 16, 32});
    b.AddUInts(d, 273, 4, {8, 1000, 70000});
    b.AddRationals(d, 282, 5, {{72, 1}, {300, 7}});
    b.AddRationals(d, 283, 5, {{150, 2}});
    b.AddRationals(d, 37000, 10, {{-3, 4}, {5, -8}, {9, 1}});
    b.AddRationals(d, 37001, 10, {{-1, 2}});
    b.AddDoubles(d, 33550, {0.5, 2.25, -1e300});
    b.AddAscii(d, 270, "hello");
    b.AddUInts(d, 37002, 8, {0xFFFE});
    b.AddUInts(d, 37003, 9, {static_cast<uint32_t>(-70000)});
    b.AddUInts(d, 37004, 11, {FloatBits(1.5f)});
    b.AddUInts(d, 37005, 1, {1, 2, 3});
    b.AddUInts(d, 37006, 16, {1ull << 40, 5});
    b.AddUInts(d, 37007, 6, {0x80});
    return b.Build();
}

struct Expected {
    uint16_t tag;
    std::vector<double> values;
};

const Expected kExpected[] = {{256, {300}},
                              {530, {2, 1}},
                              {258, {8, 16, 32}},
                              {273, {8, 1000, 70000}},
                              {282, {72, 300.0 / 7}},
                              {283, {75}},
                              {37000, {-0.75, -0.625, 9}},
                              {37001, {-0.5}},
                              {33550, {0.5, 2.25, -1e300}},
                              {37002, {-2}},
                              {37003, {-70000}},
                              {37004, {1.5}},
                              {37005, {1, 2, 3}},
                              {37006, {1099511627776.0, 5}},
                              {37007, {-128}}};

TEST(ReaderValues, EveryLayoutYieldsTheSameValues) {
    for (bool bigEndian : {false, true}) {
        for (bool bigTiff : {false, true}) {
            SCOPED_TRACE(::testing::Message()
                         << "big-endian " << bigEndian << ", BigTIFF " << bigTiff);
            CTiffReader reader;
            const auto bytes = BuildSample(bigEndian, bigTiff);
            ASSERT_TRUE(reader.Open(tiff::MakeMemorySource(bytes), L"sample"));
            EXPECT_EQ(reader.IsBigEndian(), bigEndian);
            EXPECT_EQ(reader.IsBigTiff(), bigTiff);
            const auto &dir = reader.Directories().at(0);
            for (const auto &e : kExpected) {
                const TiffEntry *entry = dir.Find(e.tag);
                ASSERT_NE(entry, nullptr) << e.tag;
                ASSERT_EQ(entry->count, e.values.size()) << e.tag;
                for (size_t i = 0; i < e.values.size(); ++i)
                    EXPECT_DOUBLE_EQ(entry->GetDouble(i), e.values[i]) << e.tag << "[" << i << "]";
            }
            EXPECT_EQ(dir.Find(270)->GetAscii(), "hello");
            EXPECT_EQ(dir.Find(37002)->GetInt(), -2);
            EXPECT_EQ(dir.Find(37003)->GetUInt(), 0u); // negative: no unsigned value
            EXPECT_EQ(dir.Find(273)->GetUInt(2), 70000u);
        }
    }
}

// The 32-bit words of an 8-byte element as held in memory.
std::pair<int32_t, int32_t> Words(const TiffEntry &entry, size_t i) {
    int32_t w[2];
    std::memcpy(w, entry.Data() + 8 * i, 8);
    return {w[0], w[1]};
}

TEST(ReaderValues, BigEndianRationalsKeepTheRequiredHalfOrder) {
    // RATIONAL out of line is swapped as two halves: numerator stays first. SRATIONAL (and
    // RATIONAL inline) is reversed as one 8-byte element: the denominator comes first.
    struct Case {
        bool bigTiff;
        uint16_t tag;
        size_t index;
        std::pair<int32_t, int32_t> words;
        bool exchanged;
    } cases[] = {
        {false, 282, 1, {300, 7}, false}, {false, 37000, 0, {4, -3}, true},
        {false, 37000, 1, {-8, 5}, true}, {true, 282, 0, {72, 1}, false},
        {true, 283, 0, {2, 150}, true},   {true, 37001, 0, {2, -1}, true},
    };
    for (const auto &c : cases) {
        CTiffReader reader;
        const auto bytes = BuildSample(true, c.bigTiff);
        ASSERT_TRUE(reader.Open(tiff::MakeMemorySource(bytes), L"sample"));
        const TiffEntry *entry = reader.Directories()[0].Find(c.tag);
        ASSERT_NE(entry, nullptr);
        EXPECT_EQ(Words(*entry, c.index), c.words) << c.tag << " bigTiff " << c.bigTiff;
        EXPECT_EQ(entry->rationalHalvesExchanged, c.exchanged) << c.tag;
    }
}

} // namespace
