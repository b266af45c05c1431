// LZW decoder: round trips in both bit orders, code widths and clears, warnings, pending strings
// across calls and corrupt streams.
#include "Subsystems/TiffImage/TiffLog.h"
#include "Subsystems/TiffImage/TiffLzw.h"
#include "support/Encoders.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>

namespace {

constexpr uint32_t kClear = testsupport::kLzwClear;
constexpr uint32_t kEoi = testsupport::kLzwEoi;
using testsupport::LzwCodeWriter;
using testsupport::LzwEncode;
using Bytes = std::vector<uint8_t>;

const std::string kOldStyleWarning = "TIFFWarning():  Old-style LZW codes, convert file\n";
const std::string kNoEoiWarning = "TIFFWarning():  LZWDecode: Strip not terminated with EOI code\n";

Bytes RandomBytes(size_t n, uint32_t seed, int alphabet = 256) {
    std::mt19937 rng(seed);
    Bytes v(n);
    for (auto &b : v)
        b = static_cast<uint8_t>(rng() % alphabet);
    return v;
}

// Smooth rows with a little noise, like imagery.
Bytes ImageLike(size_t n, uint32_t seed) {
    std::mt19937 rng(seed);
    Bytes v(n);
    for (size_t i = 0; i < n; ++i)
        v[i] = static_cast<uint8_t>((i % 701) / 5 + (i / 9000) * 3 + rng() % 3);
    return v;
}

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

// Decodes through the hooks, `chunk` bytes per decode call.
Decoded DecodeInChunks(const Bytes &in, size_t outSize, size_t chunk) {
    Decoded d{0, Bytes(outSize, 0xCD), {}};
    tiff::LzwState state;
    testing::internal::CaptureStdout();
    d.status = tiff::LZWSetupDecode(state);
    if (d.status == 0)
        d.status = tiff::LZWPreDecode(state, in);
    for (size_t pos = 0; d.status == 0 && pos < outSize; pos += chunk) {
        const size_t n = std::min(chunk, outSize - pos);
        d.status = tiff::LZWDecode(state, std::span<uint8_t>(d.bytes.data() + pos, n));
    }
    tiff::LZWCleanup(state);
    d.printed = testing::internal::GetCapturedStdout();
    return d;
}

// Strips decoded in pieces through the hooks (strings cut between calls, copies from output
// that earlier calls wrote), in both bit orders. Whole strips are compared with libtiff in peer/.
TEST(Lzw, PiecesDecodeAsTheWholeStrip) {
    const Bytes inputs[] = {Bytes{7, 7}, Bytes(100000, 0x55), RandomBytes(150000, 1),
                            RandomBytes(200000, 2, 3), ImageLike(300000, 3)};
    for (bool oldStyle : {false, true}) {
        for (const Bytes &input : inputs) {
            const Bytes coded = LzwEncode(input, {.oldStyle = oldStyle});
            for (size_t chunk : {1, 3, 4093}) {
                SCOPED_TRACE(::testing::Message() << input.size() << " bytes, old-style "
                                                  << oldStyle << ", chunk " << chunk);
                const Decoded pieces = DecodeInChunks(coded, input.size(), chunk);
                EXPECT_EQ(pieces.status, 0);
                EXPECT_TRUE(pieces.bytes == input);
            }
        }
    }
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
        {"EOI before the output is full", codes({kClear, 'a', 'b', kClear, kEoi}), 3, -1, {}, ""},
        {"code defined by its own use", codes({kClear, 'x', 258, 259, kEoi}), 6, 0,
         Bytes{'x', 'x', 'x', 'x', 'x', 'x'}, ""},
        {"strip without EOI that fills the output", codes({kClear, 'a', 'b', 258}), 4, 0,
         Bytes{'a', 'b', 'a', 'b'}, kNoEoiWarning},
        {"data runs out", codes({kClear, 'a', 'b'}), 3, -1, {}, kNoEoiWarning},
        {"no clear code first", codes({'a', 'b', kEoi}), 2, -1, {}, ""},
        {"code past the next free entry", codes({kClear, 'a', 'b', 261, kEoi}), 4, -1, {}, ""},
        {"second clear right after a clear writes a zero byte", codes({kClear, kClear, 'A', kEoi}),
         2, 0, Bytes{0, 'A'}, ""},
        {"empty input", Bytes{}, 1, -1, {}, kNoEoiWarning},
        {"old-style codes", codes({kClear, 'o', 'l', 'd', 258, kEoi}, true), 5, 0,
         Bytes{'o', 'l', 'd', 'o', 'l'}, kOldStyleWarning},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        for (size_t chunk : {c.outSize, size_t{1}}) {
            const Decoded d = chunk == c.outSize ? DecodeStrip(c.stream, c.outSize)
                                                 : DecodeInChunks(c.stream, c.outSize, chunk);
            EXPECT_EQ(d.status, c.status);
            if (c.status == 0) {
                EXPECT_TRUE(d.bytes == c.expected);
            }
            // Byte by byte, a call that reaches the end of the data warns on its own.
            if (chunk == c.outSize || c.printed.empty())
                EXPECT_EQ(d.printed, c.printed);
            else
                EXPECT_EQ(d.printed.substr(0, c.printed.size()), c.printed);
        }
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
    // The same through the encoder: a long stream that never clears.
    const Bytes data = RandomBytes(40000, 6);
    EXPECT_EQ(DecodeStrip(LzwEncode(data, {.clearAt = 0}), data.size()).status, -1);
}

// Each strip gets a fresh state and warns; one state decoding strips warns once, decodes a
// new-style strip between them new-style, keeps a failure until the next strip, and needs a
// strip to start. An installed sink takes the warnings instead of standard output.
TEST(Lzw, StateAcrossStripsAndWarnings) {
    const Bytes data = ImageLike(2000, 7);
    const Bytes coded = LzwEncode(data, {.oldStyle = true});
    EXPECT_EQ(DecodeStrip(coded, data.size()).printed + DecodeStrip(coded, data.size()).printed,
              kOldStyleWarning + kOldStyleWarning);
    const Bytes newCoded = LzwEncode(data);
    const Bytes bad = LzwCodeWriter(false).Put({kClear, 'a', 300}).Finish();
    tiff::LzwState state;
    state.module = "LZWPreDecode";
    Bytes out(data.size());
    EXPECT_EQ(tiff::LZWDecode(state, out), -1); // no strip yet
    testing::internal::CaptureStdout();
    for (const Bytes *strip : {&coded, &newCoded, &bad, &coded}) {
        ASSERT_EQ(tiff::LZWPreDecode(state, *strip), 0);
        const int32_t want = strip == &bad ? -1 : 0;
        EXPECT_EQ(tiff::LZWDecode(state, out), want);
        if (want != 0)
            EXPECT_EQ(tiff::LZWDecode(state, out), -1); // sticky
        else
            EXPECT_TRUE(out == data);
    }
    tiff::LZWCleanup(state);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "TIFFWarning(LZWPreDecode):  Old-style LZW codes, convert file\n");
    EXPECT_EQ(tiff::LZWDecodeStrip(nullptr, coded.data(), 4, 4), -1);

    std::vector<std::string> lines;
    tiff::SetTiffWarningSink([&lines](const std::string &line) { lines.push_back(line); });
    const std::string printed = DecodeStrip(coded, data.size()).printed;
    tiff::SetTiffWarningSink(nullptr);
    EXPECT_EQ(printed, "");
    EXPECT_EQ(lines, std::vector<std::string>{"TIFFWarning():  Old-style LZW codes, convert file"});
}

} // namespace
