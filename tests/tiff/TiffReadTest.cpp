// CTiffReader: header and chain rules, SubIFDs, the status codes of bad input, and entry values
// in machine order from both byte orders and layouts; TiffImageRead's own error record; file
// sources: the mapped source seeks and reads exactly as the stream source does and lends its
// bytes. Images loaded through the mapping are compared with libtiff in peer/.
#include "Subsystems/TiffImage/TiffRead.h"
#include "Subsystems/TiffImage/TiffImageRead.h"
#include "Subsystems/TiffImage/TiffSource.h"
#include "support/TiffWriter.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstring>
#include <filesystem>
#include <functional>
#include <stdexcept>
#include <string>

using testsupport::TiffWriter;
using tiff::CTiffReader;
using tiff::TiffEntry;
using tiff::TiffImageRead;

namespace {

using Bytes = std::vector<unsigned char>;

bool OpenBytes(CTiffReader &reader, const Bytes &bytes) {
    return reader.Open(tiff::MakeMemorySource(bytes), L"memory.tif");
}

// Test files are padded to this length so that offsets can be aimed at its end.
constexpr uint64_t kLength = 128;

using Edit = std::function<void(TiffWriter &)>;

// `count` directories of two entries (one out of line), edited, then padded to `padTo`.
Bytes Dirs(bool bigTiff, int count, const Edit &edit, size_t padTo = kLength) {
    TiffWriter b(false, bigTiff);
    for (int i = 0; i < count; ++i) {
        auto &d = b.AddDirectory();
        b.AddUInts(d, 256, 3, {static_cast<uint64_t>(i + 1)});
        b.AddUInts(d, 273, 4, {8, 16, 24});
    }
    edit(b);
    Bytes bytes = b.Build();
    bytes.resize(std::max<size_t>(bytes.size(), padTo), 0);
    return bytes;
}

Edit Count(uint64_t count) {
    return [=](TiffWriter &b) {
        b.Dir(0).overrideCount = true;
        b.Dir(0).count = count;
    };
}
Edit Next(uint64_t next) {
    return [=](TiffWriter &b) {
        b.Dir(0).overrideNext = true;
        b.Dir(0).next = next;
    };
}
Edit Raw(uint16_t tag, uint16_t type, uint64_t count, uint64_t field) {
    return [=](TiffWriter &b) { b.AddRaw(b.Dir(0), tag, type, count, field); };
}
Edit First(uint64_t offset) {
    return [=](TiffWriter &b) { b.SetFirstIfd(offset); };
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

struct StatusCase {
    const char *name;
    std::function<Bytes()> make;
    int32_t code; // 0: opens
};

const StatusCase kStatusCases[] = {
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
             [](TiffWriter &b) {
                 for (int i = 0; i < 200; ++i)
                     b.AddRaw(b.Dir(0), 300 + i, 1, 60000, 8);
             },
             70000);
     },
     -4},
    {"more entries than a directory may hold",
     [] {
         return Dirs(true, 1, [](TiffWriter &b) {
             for (uint64_t i = 0; i <= CTiffReader::kMaxEntriesPerDirectory; ++i)
                 b.AddUInts(b.Dir(0), 256, 3, {i});
         });
     },
     -4},
};

TEST(Reader, OpenRecordsTheStatus) {
    for (const StatusCase &c : kStatusCases) {
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
    const Bytes bytes = Dirs(false, 1, [](auto &) {});
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
    const Bytes bytes = Dirs(false, 2, [](TiffWriter &b) { b.AddUInts(b.Dir(0), 256, 3, {20}); });
    TiffImageRead file;
    ASSERT_TRUE(file.OpenSource(tiff::MakeMemorySource(bytes), L"two"));
    EXPECT_EQ(file.GetImageCount(), 2u);
    EXPECT_FALSE(file.Error().IsSet());
    EXPECT_EQ(file.FindTag(0, 256)->GetUInt(), 1u);
    EXPECT_EQ(file.FindTag(1, 256)->GetUInt(), 2u);
    EXPECT_EQ(file.FindTag(2, 256), nullptr); // past the directory count
}

std::wstring Scratch(const std::string &name, const Bytes &bytes) {
    return testsupport::Wide(testsupport::WriteScratch("mapped_source_" + name, bytes));
}

Bytes Pattern(size_t size) {
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
    const Bytes bytes = Pattern(kScriptFileSize);
    for (bool mapped : {false, true}) {
        const std::wstring path = Scratch(mapped ? "mapped" : "stream", bytes);
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
    const Bytes bytes = Pattern(5000);
    auto mapped = tiff::OpenMappedFileSource(Scratch("view", bytes));
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
    const std::string path =
        testsupport::WriteScratch("mapped_source_sparse", Dirs(false, 1, [](auto &) {}));
    const std::wstring wide = testsupport::Wide(path);
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

} // namespace
