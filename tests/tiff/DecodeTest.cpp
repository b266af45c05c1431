// Decoding: strips (what only the decoder's own rules decide: which codings take a predictor, the
// predictor's low byte, trailing PackBits bytes; the status codes), LZW code streams (bit orders,
// code widths and clears, warnings, corrupt streams), and the image loader (how much it reads
// from its source, sparse chunks, fill order, the old SubfileType, the status codes of bad
// layouts and strip data). Round trips of every compression and predictor, the predictors and
// Deflate data refused where libtiff reads them, LZW strips of both styles (quad-lzw-compat.tiff
// is old-style), and pixels in every layout, window and row are compared with libtiff in peer/.
#include "Subsystems/TiffImage/TiffDecodeStrip.h"
#include "Subsystems/TiffImage/TiffImageLoad.h"
#include "Subsystems/TiffImage/TiffLog.h"
#include "Subsystems/TiffImage/TiffLzw.h"
#include "Subsystems/TiffImage/TiffRead.h"
#include "Subsystems/TiffImage/TiffSource.h"
#include "support/Encoders.h"
#include "support/ImageModel.h"
#include "support/TiffWriter.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace {

using namespace testsupport;
using tiff::CTiffReader;
using tiff::TiffImageLoader;

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
    CTiffReader reader;
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

using Edit = std::function<void(TiffWriter &, Directory &)>;

Edit Set(uint16_t tag, std::vector<uint64_t> values, uint16_t type = 3) {
    return [=](TiffWriter &b, Directory &d) { b.SetUInts(d, tag, type, values); };
}
Edit Raw(uint16_t tag, uint16_t type, uint64_t count, uint64_t field) {
    return [=](TiffWriter &b, Directory &d) { b.AddRaw(d, tag, type, count, field); };
}
Edit Remove(uint16_t tag) {
    return [=](TiffWriter &, Directory &d) { d.Remove(tag); };
}
Edit All(std::vector<Edit> edits) {
    return [=](TiffWriter &b, Directory &d) {
        for (const Edit &e : edits)
            e(b, d);
    };
}
// Rows of `width` bytes, one per strip, in strips of two PackBits bytes: at most 4224 bytes.
Edit TwoByteRows(uint64_t width) {
    return All({Set(256, {width}, 4), Set(257, {2}, 4), Set(278, {1}, 4),
                Set(279, std::vector<uint64_t>(7, 2), 4)});
}

// Counts what the loader reads from its source.
struct CountingSource : tiff::TiffSource {
    CountingSource(Bytes bytes, size_t &reads, uint64_t &bytesRead)
        : inner(tiff::MakeMemorySource(std::move(bytes))), reads(reads), bytesRead(bytesRead) {}
    bool Length(uint64_t &length) override { return inner->Length(length); }
    bool Seek(uint64_t position) override { return inner->Seek(position); }
    size_t Read(void *dest, size_t size) override {
        ++reads;
        bytesRead += size;
        return inner->Read(dest, size);
    }
    std::unique_ptr<tiff::TiffSource> inner;
    size_t &reads;
    uint64_t &bytesRead;
};

// Fill order 2: the bits of every byte reversed.
void ReverseBits(std::vector<Bytes> &chunks) {
    for (auto &chunk : chunks)
        for (auto &byte : chunk) {
            unsigned char r = 0;
            for (int b = 0; b < 8; ++b)
                r |= ((byte >> b) & 1) << (7 - b);
            byte = r;
        }
}

// Reads of a window, whole or row by row, through a source that lends no bytes: the pixels, the
// number of source reads (each strip or tile once, only those the window touches) and the bytes
// read. Uncompressed strips over 256 KiB are read in blocks of whole rows. The rows after those
// are files the loader must read although they stray from the plain layout.
TEST(LoaderReads, EachChunkOnceAndOnlyWhatTheWindowTouches) {
    const struct {
        const char *name;
        uint32_t width = 37, height = 21;
        uint16_t bps = 8, compression = 1;
        bool tiled = false;
        uint32_t chunk = 3; // tile size or rows per strip
        uint32_t x = 0, y = 0, w = 37, h = 21;
        bool rowByRow = false;
        size_t reads = 0;      // 0: not counted
        uint64_t maxBytes = 0; // 0: not bounded
        Edit edit = nullptr;
        std::function<void(std::vector<Bytes> &)> editChunks = nullptr;
        bool secondTileZero = false;
        uint32_t subfileType = 0;
    } cases[] = {
        // Columns 0..4 of 7 tiles across, three bands down; only the band across is kept.
        {.name = "rows of tiles", .width = 100, .height = 40, .compression = 8, .tiled = true,
         .chunk = 16, .x = 10, .y = 0, .w = 70, .h = 40, .rowByRow = true, .reads = 15},
        {.name = "ten rows of one 1.2 MB strip", .width = 2000, .height = 600, .chunk = 600,
         .x = 1000, .y = 300, .w = 50, .h = 10, .maxBytes = 300000},
        {.name = "blocks of 124 rows", .width = 2100, .height = 500, .chunk = 500, .x = 0, .y = 0,
         .w = 2100, .h = 500, .reads = 5},
        {.name = "1-bit rows across a block boundary at row 418", .width = 5001, .height = 700,
         .bps = 1, .chunk = 700, .x = 3, .y = 400, .w = 4990, .h = 40, .rowByRow = true},
        {.name = "sparse tile reads as zeros", .tiled = true, .chunk = 16,
         .editChunks = [](std::vector<Bytes> &chunks) { chunks[1].clear(); },
         .secondTileZero = true},
        {.name = "reversed fill order of uncompressed bits", .bps = 1, .edit = Set(266, {2}),
         .editChunks = ReverseBits},
        {.name = "uncompressed strips without byte counts are sized from the layout",
         .edit = Remove(279)},
        // Values of an unknown type are never loaded: the list holds none, whatever its count.
        {.name = "extra samples of an unknown type", .edit = Raw(338, 99, 0xFFFFFFFF, 8)},
        {.name = "the old SubfileType's reduced image is the new one's", .edit = Set(255, {2}),
         .subfileType = tiff::kSubfileReduced},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        ImageModel m;
        m.width = c.width;
        m.height = c.height;
        m.bps = c.bps;
        m.compression = c.compression;
        m.tiled = c.tiled;
        m.chunkWidth = m.chunkHeight = c.chunk;
        m.edit = c.edit;
        m.editChunks = c.editChunks;
        size_t reads = 0;
        uint64_t bytes = 0;
        CTiffReader reader;
        ASSERT_TRUE(reader.Open(std::make_unique<CountingSource>(m.Build(), reads, bytes), L"m"));
        TiffImageLoader loader(reader);
        ASSERT_TRUE(loader.Open(0));
        EXPECT_TRUE(loader.Info().extraSamples.empty());
        EXPECT_EQ(loader.Info().subfileType, c.subfileType);
        loader.SetCacheLimit(0);
        reads = bytes = 0;
        const size_t rowBytes = static_cast<size_t>(m.OutputRowBytes(c.w));
        Bytes got(rowBytes * c.h, 0xA5);
        for (uint32_t r = 0; r < (c.rowByRow ? c.h : 1); ++r)
            ASSERT_TRUE(loader.ReadWindow(c.x, c.y + r, c.w, c.rowByRow ? 1 : c.h,
                                          got.data() + r * rowBytes));
        Bytes want = m.Expected(c.x, c.y, c.w, c.h);
        for (uint32_t y = 0; c.secondTileZero && y < 16; ++y)
            std::fill_n(want.begin() + y * m.width + 16, 16, 0);
        EXPECT_EQ(got, want);
        EXPECT_TRUE(c.reads == 0 || reads == c.reads) << reads;
        EXPECT_TRUE(c.maxBytes == 0 || bytes <= c.maxBytes) << bytes;
    }
}

// The 37 x 21 model in seven strips of 111 bytes, or 3 x 2 tiles of 16 x 16 when tiled.
struct ErrorCase {
    const char *name;
    uint16_t compression;
    bool tiled;
    Edit edit;
    bool opens; // fails when the image is read instead
    int32_t code;
    const wchar_t *file; // source file of the record, without the folder
};

const ErrorCase kCases[] = {
    {"bits 65", 1, false, Set(258, {65}), false, -5, L"TiffImageInfo"},
    {"subsampled YCbCr without JPEG", 1, false, Set(262, {6}), false, -6, L"TiffImageInfo"},
    {"reversed fill order under Deflate", 8, false, Set(266, {2}), false, -6, L"TiffImageLoad"},
    {"too few strip offsets", 1, false, Set(273, {8, 8}, 4), false, -5, L"TiffChunkGrid"},
    {"Deflate without byte counts", 8, false, Remove(279), false, -5, L"TiffChunkGrid"},
    {"tile of 16 GiB", 1, true, All({Set(322, {65536}, 4), Set(323, {65536}, 4), Set(258, {32})}),
     false, -4, L"TiffChunkGrid"},
    {"strip offset past the end", 1, false, Set(273, {8, 8, 8, 8, 8, 8, 100000}, 4), true, -3,
     L"TiffChunkGrid"},
    {"PackBits strip too short for its rows", 32773, false, TwoByteRows(4225), true, -5,
     L"TiffChunkGrid"},
    {"PackBits strip that may hold its rows", 32773, false, TwoByteRows(4224), true, -5,
     L"TiffDecodeStrip"},
};

TEST(LoadErrors, RecordTheStatus) {
    for (const ErrorCase &c : kCases) {
        SCOPED_TRACE(c.name);
        ImageModel m;
        m.compression = c.compression;
        m.tiled = c.tiled;
        m.chunkHeight = c.tiled ? 16 : 3;
        m.edit = c.edit;
        CTiffReader reader;
        ASSERT_TRUE(reader.Open(tiff::MakeMemorySource(m.Build()), L"bad"));
        TiffImageLoader loader(reader);
        ASSERT_EQ(loader.Open(0), c.opens) << reader.Error().code;
        if (c.opens) {
            Bytes image(static_cast<size_t>(loader.Info().ImageBytes()));
            EXPECT_FALSE(loader.ReadImage(image.data()));
        }
        EXPECT_EQ(reader.Error().code, c.code);
        EXPECT_EQ(reader.Error().file, std::wstring(L"Subsystems/TiffImage/") + c.file);
    }
}

// Windows must lie inside the image, sums of offset and size included.
TEST(LoadErrors, WindowsOutsideTheImage) {
    ImageModel m;
    CTiffReader reader;
    TiffImageLoader loader(reader);
    ASSERT_TRUE(reader.Open(tiff::MakeMemorySource(m.Build()), L"m"));
    EXPECT_FALSE(loader.Open(1)); // no such directory
    EXPECT_EQ(reader.Error().code, -1);
    ASSERT_TRUE(loader.Open(0));
    Bytes buffer(2000);
    struct Box {
        uint32_t x, y, w, h;
    } outside[] = {{30, 0, 8, 1}, {0, 20, 1, 2}, {38, 0, 0, 0}, {1, 1, 0xFFFFFFFF, 1}};
    for (const Box &b : outside) {
        EXPECT_FALSE(loader.ReadWindow(b.x, b.y, b.w, b.h, buffer.data()));
        EXPECT_EQ(reader.Error().code, -1);
    }
    EXPECT_TRUE(loader.ReadWindow(37, 21, 0, 0, buffer.data())); // empty window at the corner
}

} // namespace
