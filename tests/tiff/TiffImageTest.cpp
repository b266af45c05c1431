// The TiffImage library: the reader's header and chain rules, SubIFDs, the status codes of bad
// input and entry values in machine order from both byte orders and layouts; TiffImageRead's own
// error record; file sources (the mapped source seeks and reads exactly as the stream source
// does, and lends its bytes); strip decoding (which codings take a predictor, the predictor's
// low byte, trailing PackBits bytes, the status codes); LZW code streams (bit orders, code
// widths and clears, warnings, corrupt streams); and the image loader (how much it reads from
// its source, sparse chunks, fill order, the old SubfileType, the status codes of bad layouts
// and strip data). Round trips of every compression and predictor, the predictors and Deflate
// data refused where libtiff reads them, LZW strips of both styles (quad-lzw-compat.tiff is
// old-style), and pixels in every layout, window and row, through the mapping too, are compared
// with libtiff in peer/.
#include "Subsystems/TiffImage/TiffDecodeStrip.h"
#include "Subsystems/TiffImage/TiffImageLoad.h"
#include "Subsystems/TiffImage/TiffImageRead.h"
#include "Subsystems/TiffImage/TiffLog.h"
#include "Subsystems/TiffImage/TiffLzw.h"
#include "Subsystems/TiffImage/TiffRead.h"
#include "Subsystems/TiffImage/TiffSource.h"
#include "support/Encoders.h"
#include "support/ImageModel.h"
#include "support/TiffWriter.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstring>
#include <filesystem>
#include <functional>
#include <random>
#include <stdexcept>
#include <string>

namespace {

using namespace testsupport;
using tiff::CTiffReader;
using tiff::TiffEntry;
using tiff::TiffImageLoader;
using tiff::TiffImageRead;

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

bool OpenBytes(CTiffReader &reader, const Bytes &bytes) {
    return reader.Open(tiff::MakeMemorySource(bytes), L"memory.tif");
}

// Test files are padded to this length so that offsets can be aimed at its end.
constexpr uint64_t kLength = 128;

// `count` directories of two entries (one out of line), edited, then padded to `padTo`.
Bytes Dirs(bool bigTiff, int count, const Edit &edit = nullptr, size_t padTo = kLength) {
    TiffWriter b(false, bigTiff);
    for (int i = 0; i < count; ++i) {
        auto &d = b.AddDirectory();
        b.AddUInts(d, 256, 3, {static_cast<uint64_t>(i + 1)});
        b.AddUInts(d, 273, 4, {8, 16, 24});
    }
    if (edit)
        edit(b, b.Dir(0));
    Bytes bytes = b.Build();
    bytes.resize(std::max<size_t>(bytes.size(), padTo), 0);
    return bytes;
}

Edit Count(uint64_t count) {
    return [=](TiffWriter &, Directory &d) {
        d.overrideCount = true;
        d.count = count;
    };
}
Edit Next(uint64_t next) {
    return [=](TiffWriter &, Directory &d) {
        d.overrideNext = true;
        d.next = next;
    };
}
Edit First(uint64_t offset) {
    return [=](TiffWriter &b, Directory &) { b.SetFirstIfd(offset); };
}

// The smallest valid classic file: one directory with one inline entry, 28 bytes long.
Bytes Minimal28(size_t length = 28, const char *order = "II", uint16_t version = 0) {
    TiffWriter b(false, false);
    b.SetVersion(version);
    b.AddUInts(b.AddDirectory(), 256, 4, {123456});
    Bytes bytes = b.Build();
    bytes.resize(length, 0);
    bytes[0] = order[0];
    bytes[1] = order[1];
    return bytes;
}

const struct {
    const char *name;
    std::function<Bytes()> make;
    int32_t code; // 0: opens
} kStatusCases[] = {
    {"27-byte file", [] { return Minimal28(27); }, -3},
    {"28-byte classic file opens", [] { return Minimal28(); }, 0},
    {"version 41 is read as classic", [] { return Minimal28(28, "II", 41); }, 0},
    {"byte order IM", [] { return Minimal28(28, "IM"); }, -5},
    {"entry count 0x8000 is negative", [] { return Dirs(false, 1, Count(0x8000)); }, -5},
    {"next IFD equal to the file length", [] { return Dirs(false, 1, Next(kLength)); }, -5},
    {"next IFD 0xFFFFFFFF ends the chain", [] { return Dirs(false, 2, Next(~0u)); }, 0},
    {"value offset at the file length", [] { return Dirs(false, 1, Raw(279, 4, 3, kLength)); }, -5},
    {"values past the end", [] { return Dirs(false, 1, Raw(279, 4, 4, kLength - 8)); }, -3},
    {"BigTIFF first IFD above 4294967295", [] { return Dirs(true, 1, First(0x100000000ull)); }, -9},
    {"BigTIFF size overflows", [] { return Dirs(true, 1, Raw(33550, 12, 1ull << 62, 16)); }, -5},
    {"BigTIFF entries past the end", [] { return Dirs(true, 1, Count(1ull << 40)); }, -3},
    // Many entries sharing one large value block would need far more memory than the file.
    {"entries sharing a large block",
     [] {
         return Dirs(
             false, 1,
             [](TiffWriter &b, Directory &d) {
                 for (int i = 0; i < 200; ++i)
                     b.AddRaw(d, 300 + i, 1, 60000, 8);
             },
             70000);
     },
     -4},
    {"more entries than a directory may hold",
     [] {
         return Dirs(true, 1, [](TiffWriter &b, Directory &d) {
             for (uint64_t i = 0; i <= CTiffReader::kMaxEntriesPerDirectory; ++i)
                 b.AddUInts(d, 256, 3, {i});
         });
     },
     -4},
};

TEST(Reader, OpenRecordsTheStatus) {
    for (const auto &c : kStatusCases) {
        SCOPED_TRACE(c.name);
        CTiffReader reader;
        EXPECT_EQ(OpenBytes(reader, c.make()), c.code == 0);
        EXPECT_EQ(reader.ErrorCode(), c.code);
        if (c.code != 0) {
            EXPECT_EQ(reader.ErrorFile(), L"Subsystems/TiffImage/TiffRead");
            EXPECT_GT(reader.ErrorLine(), 0);
            EXPECT_FALSE(reader.IsOpen());
            EXPECT_TRUE(reader.Directories().empty());
        }
    }
}

// SubIFDs of directory 0. Directories 1 to 3 are built after it and reached only through its
// SubIFDs tag (whose values name directories by index, or an offset past the end) or
// through each other's next offsets.
TEST(Reader, SubDirectoriesAppendAfterTheChain) {
    constexpr int64_t kPastEnd = -1;
    struct Case {
        const char *name;
        uint16_t type;
        std::vector<int64_t> subIfds;
        std::vector<int> nexts; // next of directories 1 to 3; -1 ends the chain
        bool ok;
        std::vector<uint64_t> appended; // directory indices read, in order
        int32_t code;
    } const cases[] = {
        {"chained from one", 4, {1}, {2, 3, -1}, true, {1, 2, 3}, 0},
        {"back into the main chain", 13, {0, 2}, {-1, -1, -1}, true, {2}, 0},
        {"loop", 13, {1}, {2, 1, -1}, true, {1, 2}, 0},
        {"past the end keeps those before", 13, {1, kPastEnd}, {-1, -1, -1}, false, {1}, -5},
    };
    for (bool bigTiff : {false, true}) {
        for (const Case &c : cases) {
            SCOPED_TRACE(std::string(c.name) + (bigTiff ? ", BigTIFF" : ", classic"));
            const uint16_t type = bigTiff && c.type == 13  ? 18
                                  : bigTiff && c.type == 4 ? 16
                                                           : c.type;
            TiffWriter b(true, bigTiff);
            for (int i = 0; i < 4; ++i) {
                auto &d = b.AddDirectory();
                b.AddUInts(d, 256, 3, {static_cast<uint64_t>(i + 10)});
                if (i == 0)
                    b.AddUInts(d, 330, type, std::vector<uint64_t>(c.subIfds.size(), 0));
            }
            // Find each directory's offset with all four in the chain, then unlink them.
            CTiffReader probe;
            ASSERT_TRUE(OpenBytes(probe, b.Build()));
            ASSERT_EQ(probe.Directories().size(), 4u);
            std::vector<uint64_t> values;
            for (int64_t v : c.subIfds)
                values.push_back(v == kPastEnd ? uint64_t{1} << 30 : probe.Directories()[v].offset);
            b.Dir(0).entries.pop_back();
            b.AddUInts(b.Dir(0), 330, type, values);
            b.Dir(0).overrideNext = true;
            for (int i = 1; i < 4; ++i) {
                b.Dir(i).overrideNext = true;
                b.Dir(i).next = c.nexts[i - 1] < 0 ? 0 : probe.Directories()[c.nexts[i - 1]].offset;
            }
            CTiffReader reader;
            ASSERT_TRUE(OpenBytes(reader, b.Build()));
            ASSERT_EQ(reader.Directories().size(), 1u);
            EXPECT_EQ(reader.ReadSubDirectories(0), c.ok);
            EXPECT_EQ(reader.ErrorCode(), c.code);
            const auto &dirs = reader.Directories();
            ASSERT_EQ(dirs.size(), 1 + c.appended.size());
            EXPECT_EQ(dirs[0].parent, -1);
            for (size_t i = 0; i < c.appended.size(); ++i) {
                EXPECT_EQ(dirs[1 + i].parent, 0);
                EXPECT_EQ(dirs[1 + i].offset, probe.Directories()[c.appended[i]].offset);
                EXPECT_EQ(dirs[1 + i].GetUInt(256, 0), c.appended[i] + 10);
            }
            // Reading them again adds nothing.
            EXPECT_EQ(reader.ReadSubDirectories(0), c.ok);
            EXPECT_EQ(dirs.size(), 1 + c.appended.size());
        }
    }
}

// A later successful open clears the record; sources too long for the reader are refused.
TEST(Reader, SourceFailures) {
    CTiffReader reader;
    const Bytes bytes = Dirs(false, 1);
    EXPECT_FALSE(reader.Open(std::wstring(L"/nonexistent/x.tif")));
    ASSERT_TRUE(OpenBytes(reader, bytes));
    EXPECT_EQ(reader.ErrorCode(), 0);

    // A source longer than 4 GiB - 1.
    struct HugeSource : tiff::TiffSource {
        explicit HugeSource(const Bytes &b) : inner(tiff::MakeMemorySource(b)) {}
        bool Length(uint64_t &l) override { return l = 1ull << 32, true; }
        bool Seek(uint64_t p) override { return inner->Seek(p); }
        size_t Read(void *dest, size_t size) override { return inner->Read(dest, size); }
        std::unique_ptr<tiff::TiffSource> inner;
    };
    EXPECT_FALSE(reader.Open(std::make_unique<HugeSource>(bytes), L"huge"));
    EXPECT_EQ(reader.ErrorCode(), -9);
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
    b.AddUInts(d, 37004, 11, {std::bit_cast<uint32_t>(1.5f)});
    b.AddUInts(d, 37005, 1, {1, 2, 3});
    b.AddUInts(d, 37006, 16, {1ull << 40, 5});
    b.AddUInts(d, 37007, 6, {0x80});
    return b.Build();
}

const struct {
    uint16_t tag;
    std::vector<double> values;
} kExpected[] = {{256, {300}},
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

// Big-endian rationals as held in memory: RATIONAL out of line is swapped as two halves, the
// numerator staying first; SRATIONAL (and RATIONAL inline) is reversed as one 8-byte element,
// the denominator coming first.
const struct {
    bool bigTiff;
    uint16_t tag;
    size_t index;
    std::pair<int32_t, int32_t> words;
    bool exchanged;
} kBigEndianHalves[] = {
    {false, 282, 1, {300, 7}, false}, {false, 37000, 0, {4, -3}, true},
    {false, 37000, 1, {-8, 5}, true}, {true, 282, 0, {72, 1}, false},
    {true, 283, 0, {2, 150}, true},   {true, 37001, 0, {2, -1}, true},
};

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
            for (const auto &h : kBigEndianHalves) {
                if (!bigEndian || h.bigTiff != bigTiff)
                    continue;
                const TiffEntry *entry = dir.Find(h.tag);
                int32_t words[2];
                std::memcpy(words, entry->Data() + 8 * h.index, 8);
                EXPECT_EQ(std::pair(words[0], words[1]), h.words) << h.tag << "[" << h.index << "]";
                EXPECT_EQ(entry->rationalHalvesExchanged, h.exchanged) << h.tag;
            }
        }
    }
}

const wchar_t kFile[] = L"Subsystems/TiffImage/TiffImageRead";

TEST(TiffImageRead, FailuresAndTheirRecords) {
    TiffImageRead file;
    EXPECT_FALSE(file.OpenFile(L""));
    EXPECT_EQ(file.Error().file, kFile);
    EXPECT_EQ(file.Error().line, 175);
    EXPECT_EQ(file.Error().code, -1);

    // The reader's record is copied as it is.
    EXPECT_FALSE(file.OpenFile(L"/nonexistent/x.tif"));
    EXPECT_EQ(file.Error().file, L"Subsystems/TiffImage/TiffRead");
    EXPECT_EQ(file.Error().code, -2);
    EXPECT_EQ(file.Error().line, file.Reader().ErrorLine());

    struct ThrowingSource : tiff::TiffSource {
        bool Length(uint64_t &length) override { return length = 1000, true; }
        bool Seek(uint64_t) override { throw std::runtime_error("stream broke"); }
        size_t Read(void *, size_t) override { return 0; }
    };
    EXPECT_FALSE(file.OpenSource(std::make_unique<ThrowingSource>(), L"throws"));
    EXPECT_EQ(file.Error().file, kFile);
    EXPECT_EQ(file.Error().line, 192);
    EXPECT_EQ(file.Error().code, -99);

    file.Close();
    EXPECT_FALSE(file.Error().IsSet()); // closing forgets the failure
    EXPECT_EQ(file.GetImageCount(), 0u);
    EXPECT_EQ(file.Error().line, 325);
    EXPECT_EQ(file.Error().code, -7);
}

// Two directories, the first with a duplicated width: the first of duplicates is found.
TEST(TiffImageRead, CountsImagesAndFindsTags) {
    const Bytes bytes = Dirs(false, 2, Raw(256, kShort, 1, 20));
    TiffImageRead file;
    ASSERT_TRUE(file.OpenSource(tiff::MakeMemorySource(bytes), L"two"));
    EXPECT_EQ(file.GetImageCount(), 2u);
    EXPECT_FALSE(file.Error().IsSet());
    EXPECT_EQ(file.FindTag(0, 256)->GetUInt(), 1u);
    EXPECT_EQ(file.FindTag(1, 256)->GetUInt(), 2u);
    EXPECT_EQ(file.FindTag(2, 256), nullptr); // past the directory count
}

Bytes FileBytes(size_t size) {
    Bytes bytes(size);
    for (size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<unsigned char>(i * 7 + i / 251 + 3);
    return bytes;
}

// One operation on a source and what it must give: Seek's result, or Read's count and the file
// offset its bytes come from.
struct Step {
    enum Op { Length, Seek, Read } op;
    uint64_t arg;
    bool ok;
    size_t count;
    uint64_t from;
};

constexpr size_t kScriptFileSize = 1000;

const Step kScript[] = {
    {Step::Read, 10, true, 10, 0}, // a new source reads from the start
    {Step::Length, 0, true, 0, 0},
    {Step::Read, 5, true, 5, 10}, // asking for the length keeps the position
    {Step::Seek, 995, true, 0, 0},
    {Step::Read, 10, true, 5, 995}, // short read at the end
    {Step::Seek, 1001, true, 0, 0}, // past the end, as a C stream allows
    {Step::Read, 4, true, 0, 0},
    {Step::Seek, 20, true, 0, 0},
    {Step::Seek, uint64_t{1} << 63, false, 0, 0}, // beyond a stream's range: position kept
    {Step::Read, 3, true, 3, 20},
    {Step::Seek, 0, true, 0, 0},
    {Step::Read, 2000, true, 1000, 0},
};

TEST(FileSource, MappedSeeksAndReadsLikeAStream) {
    const Bytes bytes = FileBytes(kScriptFileSize);
    for (bool mapped : {false, true}) {
        const std::wstring path =
            Wide(WriteScratch(mapped ? "source_mapped" : "source_stream", bytes));
        auto source = mapped ? tiff::OpenMappedFileSource(path) : tiff::OpenStreamFileSource(path);
        ASSERT_NE(source, nullptr);
        for (size_t i = 0; i < std::size(kScript); ++i) {
            const Step &s = kScript[i];
            SCOPED_TRACE(::testing::Message() << "mapped " << mapped << ", step " << i);
            if (s.op == Step::Length) {
                uint64_t length = 0;
                EXPECT_TRUE(source->Length(length));
                EXPECT_EQ(length, kScriptFileSize);
            } else if (s.op == Step::Seek) {
                EXPECT_EQ(source->Seek(s.arg), s.ok);
            } else {
                Bytes got(static_cast<size_t>(s.arg) + 1, 0xEE);
                ASSERT_EQ(source->Read(got.data(), static_cast<size_t>(s.arg)), s.count);
                EXPECT_TRUE(std::equal(got.begin(), got.begin() + s.count, bytes.begin() + s.from));
                EXPECT_EQ(got[s.count], 0xEE) << "written past the count";
            }
        }
    }
}

TEST(MappedSource, LendsExactlyTheFileBytes) {
    const Bytes bytes = FileBytes(5000);
    auto mapped = tiff::OpenMappedFileSource(Wide(WriteScratch("mapped_view", bytes)));
    ASSERT_NE(mapped, nullptr);
    const unsigned char *all = mapped->View(0, bytes.size());
    ASSERT_NE(all, nullptr);
    EXPECT_TRUE(std::equal(bytes.begin(), bytes.end(), all));
    EXPECT_EQ(mapped->View(4999, 1), all + 4999);
    EXPECT_EQ(mapped->View(5000, 0), all + 5000);
    struct {
        uint64_t position;
        size_t size;
    } const outside[] = {{5000, 1}, {4999, 2}, {5001, 0}, {UINT64_MAX, 1}, {1, SIZE_MAX}};
    for (const auto &o : outside)
        EXPECT_EQ(mapped->View(o.position, o.size), nullptr) << o.position << "+" << o.size;
    // Views leave the position alone.
    unsigned char first[2] = {};
    EXPECT_EQ(mapped->Read(first, 2), 2u);
    EXPECT_EQ(first[1], bytes[1]);
}

// A sparse file of the largest length the reader accepts is mapped, and offsets near its end
// are still bounded exactly.
TEST(FileSource, LargestFileIsMapped) {
    const std::string path = WriteScratch("mapped_source_sparse", Dirs(false, 1));
    const std::wstring wide = Wide(path);
    constexpr uint64_t kLargest = 0xFFFFFFFFull;
    std::error_code error;
    std::filesystem::resize_file(path, kLargest, error);
    if (error)
        GTEST_SKIP() << "no sparse file of 4 GiB: " << error.message();
    {
        ASSERT_NE(tiff::OpenFileSource(wide)->View(kLargest - 1, 1), nullptr);
        tiff::CTiffReader reader;
        ASSERT_TRUE(reader.Open(wide)) << reader.ErrorCode();
        unsigned char tail[4] = {1, 1, 1, 1};
        EXPECT_TRUE(reader.ReadBytes(kLargest - 4, tail, 4, L"test", 1));
        EXPECT_EQ(tail[0] | tail[3], 0);
        EXPECT_FALSE(reader.ReadBytes(kLargest - 3, tail, 4, L"test", 2));
        EXPECT_EQ(reader.ErrorCode(), -3);
    }
    std::filesystem::remove(path, error);
}

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
        EXPECT_TRUE(c.status != 0 || d.bytes == c.expected); // output undefined on failure
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
            EXPECT_TRUE(d.status != 0 || d.bytes == expected);
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
const struct {
    const char *name;
    uint16_t compression;
    bool tiled;
    Edit edit;
    bool opens; // fails when the image is read instead
    int32_t code;
    const wchar_t *file; // source file of the record, without the folder
} kCases[] = {
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
    for (const auto &c : kCases) {
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
