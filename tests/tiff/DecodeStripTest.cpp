// Strip decoding: what only the decoder's own rules decide (which codings take a predictor, the
// predictor's low byte, trailing PackBits bytes) and the status codes. Round trips of every
// compression and predictor, and the predictors and Deflate data refused where libtiff reads
// them, are compared with libtiff in peer/.
#include "Subsystems/TiffImage/TiffDecodeStrip.h"
#include "Subsystems/TiffImage/TiffRead.h"
#include "Subsystems/TiffImage/TiffSource.h"
#include "support/Encoders.h"
#include "support/TiffWriter.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>

namespace {

using namespace testsupport;

// A directory holding only the tags the strip decoder reads.
tiff::TiffDirectory StripDirectory(uint32_t compression, uint32_t predictor, uint32_t bitsPerSample,
                                   uint32_t samplesPerPixel = 1) {
    tiff::TiffDirectory dir;
    for (auto [tag, value] : {std::pair{258u, bitsPerSample},
                              {259u, compression},
                              {277u, samplesPerPixel},
                              {317u, predictor}}) {
        tiff::TiffEntry e;
        e.tag = static_cast<uint16_t>(tag);
        e.type = tiff::kTypeLong;
        e.count = 1;
        std::memcpy(e.value, &value, 4);
        dir.entries.push_back(e);
    }
    return dir;
}

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
StripRun Decode(const tiff::TiffDirectory &dir, const Bytes &payload, uint32_t rows,
                uint32_t decodedSize, uint32_t compressedSize = 0) {
    // The payload ends the file and its allocation: a decoder reading past its input reads
    // past the memory source's bytes, which the sanitizer build reports.
    TiffWriter writer;
    writer.AddUInts(writer.AddDirectory(), 256, kShort, {1});
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
    run.ok = tiff::ImageDecodeStrip(reader, dir, payloadAt, rows,
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
        const StripRun run = Decode(StripDirectory(c.compression, c.predictor, 8, 2), c.payload,
                                    rows, static_cast<uint32_t>(original.size()));
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
        tiff::TiffDirectory dir;
        Bytes payload;
        uint32_t compressedSize; // 0: the payload's size
        int32_t code;
    } cases[] = {
        {"JPEG is not supported", StripDirectory(7, 1, 8), data, 0, -6},
        {"uncompressed size differs", StripDirectory(1, 1, 8), data, size - 1, -5},
        {"PackBits run past the end", StripDirectory(32773, 1, 8), packBitsOverrun, 0, -5},
        {"Deflate corrupt", StripDirectory(32946, 1, 8), data, 0, -5},
        {"compressed past the end", StripDirectory(8, 1, 8), DeflateEncode(data), 1u << 30, -3},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        const StripRun run = Decode(c.dir, c.payload, 3, size, c.compressedSize);
        EXPECT_FALSE(run.ok);
        EXPECT_EQ(run.error.code, c.code);
        EXPECT_EQ(run.error.file, L"Subsystems/TiffImage/TiffDecodeStrip");
        EXPECT_GT(run.error.line, 0);
    }
}

} // namespace
