// Strip decoding: what only the decoder's own rules decide (which codings take a predictor, the
// predictor's low byte, trailing PackBits bytes) and the status codes; the LZW decoder's bit
// orders, code widths and clears, warnings and corrupt streams. Round trips of every compression
// and predictor, the predictors and Deflate data refused where libtiff reads them, and LZW strips
// of both styles (quad-lzw-compat.tiff is old-style) are compared with libtiff in peer/.
#include "Subsystems/TiffImage/TiffDecodeStrip.h"
#include "Subsystems/TiffImage/TiffLog.h"
#include "Subsystems/TiffImage/TiffLzw.h"
#include "Subsystems/TiffImage/TiffRead.h"
#include "Subsystems/TiffImage/TiffSource.h"
#include "support/Encoders.h"
#include "support/TiffWriter.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace {

using namespace testsupport;

// The tags the strip decoder reads.
struct StripLayout {
    uint32_t compression, predictor, bitsPerSample, samplesPerPixel = 1;
};

Bytes Pattern(size_t n, uint32_t seed) {
    std::mt19937 rng(seed);
    Bytes v(n);
    for (size_t i = 0; i < n; ++i)
        v[i] = static_cast<uint8_t>(i / 37 % 4 == 0 ? 200 : (i * 7 + rng() % 4));
    return v;
}

struct StripRun {
    bool ok;
    Bytes out;
    shr::ErrorRecord error;
};

// Decodes `payload` as the one strip of a tiny file; `compressedSize` 0 means the payload's size.
StripRun Decode(const StripLayout &layout, const Bytes &payload, uint32_t rows,
                uint32_t decodedSize, uint32_t compressedSize = 0) {
    // The payload ends the file and its allocation: a decoder reading past its input reads
    // past the memory source's bytes, which the sanitizer build reports.
    TiffWriter writer;
    Directory &dir = writer.AddDirectory();
    writer.AddUInts(dir, 258, kLong, {layout.bitsPerSample});
    writer.AddUInts(dir, 259, kLong, {layout.compression});
    writer.AddUInts(dir, 277, kLong, {layout.samplesPerPixel});
    writer.AddUInts(dir, 317, kLong, {layout.predictor});
    writer.SetDataLast(true);
    writer.AddBlob(payload);
    Bytes file = writer.Build();
    file.resize(file.size() - payload.size() % 2);
    file.shrink_to_fit();
    const auto payloadAt = static_cast<uint32_t>(file.size() - payload.size());
    tiff::CTiffReader reader;
    EXPECT_TRUE(reader.Open(tiff::MakeMemorySource(std::move(file)), L"memory.tif"));
    StripRun run{false, Bytes(decodedSize, 0xEE), {}};
    testing::internal::CaptureStdout();
    run.ok = tiff::ImageDecodeStrip(reader, reader.Directories().at(0), payloadAt, rows,
                                    compressedSize ? compressedSize
                                                   : static_cast<uint32_t>(payload.size()),
                                    decodedSize, run.out.data());
    testing::internal::GetCapturedStdout();
    run.error = reader.Error();
    return run;
}

// Pairs of 8-bit samples differenced: undone after Deflate only (after LZW, and on 16 and 32-bit
// samples in either byte order, in peer/), with the predictor read from the tag's low byte; bytes
// after a full PackBits strip are ignored.
TEST(DecodeStrip, PredictorOnlyAfterLzwAndDeflate) {
    const uint32_t rows = 6, rowBytes = 21 * 2;
    const Bytes original = Pattern(size_t{rowBytes} * rows, 3);
    Bytes differenced = original;
    for (size_t i = differenced.size(); i-- > 0;)
        if (i % rowBytes >= 2)
            differenced[i] -= differenced[i - 2];
    Bytes packBitsPadded = PackBitsEncode(differenced);
    packBitsPadded.insert(packBitsPadded.end(), {0, 1, 0x80});
    const struct {
        const char *name;
        uint32_t compression, predictor;
        Bytes payload;
        const Bytes &expected;
    } cases[] = {
        {"Deflate, predictor 0x302", 8, 0x302, DeflateEncode(differenced), original},
        {"PackBits with trailing bytes", 32773, 2, packBitsPadded, differenced},
        {"uncompressed", 1, 2, differenced, differenced},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        const StripRun run = Decode({c.compression, c.predictor, 8, 2}, c.payload, rows,
                                    static_cast<uint32_t>(original.size()));
        EXPECT_TRUE(run.ok);
        EXPECT_FALSE(run.error.IsSet());
        EXPECT_TRUE(run.out == c.expected);
    }
}

TEST(DecodeStrip, FailuresRecordTheirCode) {
    const Bytes data = Pattern(600, 2);
    const auto size = static_cast<uint32_t>(data.size());
    Bytes packBitsOverrun = PackBitsEncode(std::span(data).first(598));
    packBitsOverrun.insert(packBitsOverrun.end(), {0xFE, 7}); // a run of 3, one too many
    const struct {
        const char *name;
        StripLayout layout;
        Bytes payload;
        uint32_t compressedSize; // 0: the payload's size
        int32_t code;
    } cases[] = {
        {"JPEG is not supported", {7, 1, 8}, data, 0, -6},
        {"uncompressed size differs", {1, 1, 8}, data, size - 1, -5},
        {"PackBits run past the end", {32773, 1, 8}, packBitsOverrun, 0, -5},
        {"Deflate corrupt", {32946, 1, 8}, data, 0, -5},
        {"compressed past the end", {8, 1, 8}, DeflateEncode(data), 1u << 30, -3},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        const StripRun run = Decode(c.layout, c.payload, 3, size, c.compressedSize);
        EXPECT_FALSE(run.ok);
        EXPECT_EQ(run.error.code, c.code);
        EXPECT_EQ(run.error.file, L"Subsystems/TiffImage/TiffDecodeStrip");
        EXPECT_GT(run.error.line, 0);
    }
}

constexpr uint32_t kClear = testsupport::kLzwClear;
constexpr uint32_t kEoi = testsupport::kLzwEoi;

const std::string kOldStyleWarning = "TIFFWarning():  Old-style LZW codes, convert file\n";
const std::string kNoEoiWarning = "TIFFWarning():  LZWDecode: Strip not terminated with EOI code\n";

struct Decoded {
    int32_t status;
    Bytes bytes;
    std::string printed;
};

Decoded DecodeLzw(const Bytes &in, size_t outSize) {
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
        const Decoded d = DecodeLzw(c.stream, c.outSize);
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
            const Decoded d = DecodeLzw(writer.Finish(), expected.size());
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
    EXPECT_EQ(DecodeLzw(coded, 3).printed + DecodeLzw(coded, 3).printed,
              kOldStyleWarning + kOldStyleWarning);
    std::vector<std::string> lines;
    tiff::SetTiffWarningSink([&lines](const std::string &line) { lines.push_back(line); });
    const std::string printed = DecodeLzw(coded, 3).printed;
    tiff::SetTiffWarningSink(nullptr);
    EXPECT_EQ(printed, "");
    EXPECT_EQ(lines, std::vector<std::string>{"TIFFWarning():  Old-style LZW codes, convert file"});
}

} // namespace
