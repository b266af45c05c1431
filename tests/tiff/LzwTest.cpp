// LZW decoder: both bit orders, code widths and clears, warnings and corrupt streams. Strips of
// both styles are compared with libtiff in peer/ (quad-lzw-compat.tiff is old-style).
#include "Subsystems/TiffImage/TiffLog.h"
#include "Subsystems/TiffImage/TiffLzw.h"
#include "support/Encoders.h"

#include <gtest/gtest.h>

#include <string>

namespace {

constexpr uint32_t kClear = testsupport::kLzwClear;
constexpr uint32_t kEoi = testsupport::kLzwEoi;
using testsupport::LzwCodeWriter;
using Bytes = std::vector<uint8_t>;

const std::string kOldStyleWarning = "TIFFWarning():  Old-style LZW codes, convert file\n";
const std::string kNoEoiWarning = "TIFFWarning():  LZWDecode: Strip not terminated with EOI code\n";

struct Decoded {
    int32_t status;
    Bytes bytes;
    std::string printed;
};

Decoded DecodeStrip(const Bytes &in, size_t outSize) {
    Decoded d{0, Bytes(outSize, 0xCD), {}};
    testing::internal::CaptureStdout();
    d.status = tiff::LZWDecodeStrip(d.bytes.data(), in.data(), static_cast<uint32_t>(outSize),
                                    static_cast<uint32_t>(in.size()));
    d.printed = testing::internal::GetCapturedStdout();
    return d;
}

TEST(Lzw, ExplicitCodeStreams) {
    const auto codes = [](std::initializer_list<uint32_t> list, bool oldStyle = false) {
        return LzwCodeWriter(oldStyle).Put(list).Finish();
    };
    const struct {
        const char *name;
        Bytes stream;
        size_t outSize;
        int32_t status;
        Bytes expected; // checked when status is 0
        std::string printed;
    } cases[] = {
        {"clear then EOI ends the strip", codes({kClear, 'a', 'b', kClear, kEoi}), 2, 0,
         Bytes{'a', 'b'}, ""},
        {"code defined by its own use", codes({kClear, 'x', 258, 259, kEoi}), 6, 0,
         Bytes{'x', 'x', 'x', 'x', 'x', 'x'}, ""},
        {"strip without EOI that fills the output", codes({kClear, 'a', 'b', 258}), 4, 0,
         Bytes{'a', 'b', 'a', 'b'}, kNoEoiWarning},
        {"data runs out", codes({kClear, 'a', 'b'}), 3, -1, {}, kNoEoiWarning},
        {"code past the next free entry", codes({kClear, 'a', 'b', 261, kEoi}), 4, -1, {}, ""},
        {"second clear right after a clear writes a zero byte", codes({kClear, kClear, 'A', kEoi}),
         2, 0, Bytes{0, 'A'}, ""},
        {"old-style codes", codes({kClear, 'o', 'l', 'd', 258, kEoi}, true), 5, 0,
         Bytes{'o', 'l', 'd', 'o', 'l'}, kOldStyleWarning},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        const Decoded d = DecodeStrip(c.stream, c.outSize);
        EXPECT_EQ(d.status, c.status);
        if (c.status == 0) {
            EXPECT_TRUE(d.bytes == c.expected);
        }
        EXPECT_EQ(d.printed, c.printed);
    }
}

// Literal codes after one clear each define an entry: the width climbs to 12 and stays there
// while the table fills past 4095 entries, until a clear makes it 9 again; the entry after the
// last of the 5119 does not fit.
TEST(Lzw, WidthStaysAtTwelveUntilClearAndTheTableEnds) {
    for (bool oldStyle : {false, true}) {
        for (uint32_t literals : {4800u, 4862u, 4863u}) {
            SCOPED_TRACE(std::to_string(literals) + (oldStyle ? " old-style" : " new-style"));
            LzwCodeWriter writer(oldStyle);
            writer.Put(kClear);
            Bytes expected;
            for (uint32_t i = 0; i < literals; ++i) {
                writer.Put(i % 251);
                expected.push_back(static_cast<uint8_t>(i % 251));
            }
            if (literals == 4800) {
                writer.Put({kClear, 'z', 'y', 258, kEoi});
                expected.insert(expected.end(), {'z', 'y', 'z', 'y'});
            } else {
                writer.Put(kEoi);
            }
            const Decoded d = DecodeStrip(writer.Finish(), expected.size());
            EXPECT_EQ(d.status, literals == 4863 ? -1 : 0);
            if (d.status == 0) {
                EXPECT_TRUE(d.bytes == expected);
            }
        }
    }
}

// Each strip gets a fresh state, so each old-style strip warns; an installed sink takes the
// warnings instead of standard output.
TEST(Lzw, EveryOldStyleStripWarns) {
    const Bytes coded = LzwCodeWriter(true).Put({kClear, 'o', 'l', 'd', kEoi}).Finish();
    EXPECT_EQ(DecodeStrip(coded, 3).printed + DecodeStrip(coded, 3).printed,
              kOldStyleWarning + kOldStyleWarning);
    std::vector<std::string> lines;
    tiff::SetTiffWarningSink([&lines](const std::string &line) { lines.push_back(line); });
    const std::string printed = DecodeStrip(coded, 3).printed;
    tiff::SetTiffWarningSink(nullptr);
    EXPECT_EQ(printed, "");
    EXPECT_EQ(lines, std::vector<std::string>{"TIFFWarning():  Old-style LZW codes, convert file"});
}

} // namespace
