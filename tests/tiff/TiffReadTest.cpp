// CTiffReader: header and chain rules, status codes on bad input, byte-order handling.
#include "Subsystems/TiffImage/TiffRead.h"
#include "support/TiffWriter.h"

#include <gtest/gtest.h>

#include <cstring>

#include <cstdio>
#include <functional>

using testsupport::Directory;
using testsupport::TiffWriter;
using tiff::CTiffReader;
using tiff::TiffEntry;

namespace {

using Bytes = std::vector<unsigned char>;

bool OpenBytes(CTiffReader &reader, const Bytes &bytes) {
    return reader.Open(tiff::MakeMemorySource(bytes), L"memory.tif");
}

// The smallest valid classic file: one directory with one inline entry, padded to 28 bytes.
Bytes Minimal28() {
    TiffWriter b(false, false);
    b.AddUInts(b.AddDirectory(), 256, 3, {7});
    Bytes bytes = b.Build();
    bytes.resize(28, 0);
    return bytes;
}

// Test files are padded to this length so that offsets can be aimed at its end.
constexpr uint64_t kPaddedLength = 128;

Bytes WithDirectories(bool bigTiff, int count, const std::function<void(TiffWriter &)> &edit) {
    TiffWriter b(false, bigTiff);
    for (int i = 0; i < count; ++i) {
        auto &d = b.AddDirectory();
        b.AddUInts(d, 256, 3, {static_cast<uint64_t>(i + 1)});
        b.AddUInts(d, 273, 4, {8, 16, 24});
    }
    edit(b);
    Bytes bytes = b.Build();
    bytes.resize(std::max<size_t>(bytes.size(), kPaddedLength), 0);
    return bytes;
}

struct StatusCase {
    const char *name;
    std::function<Bytes()> make;
    int32_t code; // 0: opens
};

const StatusCase kStatusCases[] = {
    {"27-byte file",
     [] {
         Bytes b = Minimal28();
         b.resize(27);
         return b;
     },
     -3},
    {"28-byte classic file opens", Minimal28, 0},
    {"byte order XX",
     [] {
         Bytes b = Minimal28();
         b[0] = b[1] = 'X';
         return b;
     },
     -5},
    {"byte order IM",
     [] {
         Bytes b = Minimal28();
         b[1] = 'M';
         return b;
     },
     -5},
    {"directory count 0",
     [] { return WithDirectories(false, 1, [](auto &b) { b.Dir(0).overrideCount = true; }); }, -5},
    {"classic directory count 0x8000 reads as negative",
     [] {
         return WithDirectories(false, 1, [](auto &b) {
             b.Dir(0).overrideCount = true;
             b.Dir(0).count = 0x8000;
         });
     },
     -5},
    {"directory entries past the end of the file",
     [] {
         return WithDirectories(false, 1, [](auto &b) {
             b.Dir(0).overrideCount = true;
             b.Dir(0).count = 1000;
         });
     },
     -3},
    {"first IFD at the file length",
     [] { return WithDirectories(false, 1, [](auto &b) { b.SetFirstIfd(kPaddedLength); }); }, -5},
    {"next IFD equal to the file length",
     [] {
         return WithDirectories(false, 1, [](auto &b) {
             b.Dir(0).overrideNext = true;
             b.Dir(0).next = kPaddedLength;
         });
     },
     -5},
    {"next IFD 0xFFFFFFFF ends the chain",
     [] {
         return WithDirectories(false, 2, [](auto &b) {
             b.Dir(0).overrideNext = true;
             b.Dir(0).next = 0xFFFFFFFF;
         });
     },
     0},
    {"value offset below 8",
     [] { return WithDirectories(false, 1, [](auto &b) { b.AddRaw(b.Dir(0), 279, 4, 3, 4); }); },
     -5},
    {"value offset at the file length",
     [] {
         return WithDirectories(false, 1,
                                [](auto &b) { b.AddRaw(b.Dir(0), 279, 4, 3, kPaddedLength); });
     },
     -5},
    {"count times type size beyond the file length",
     [] {
         return WithDirectories(false, 1,
                                [](auto &b) { b.AddRaw(b.Dir(0), 279, 4, 0xFFFFFFFF, 8); });
     },
     -5},
    {"values running past the end of the file",
     [] {
         return WithDirectories(false, 1,
                                [](auto &b) { b.AddRaw(b.Dir(0), 279, 4, 4, kPaddedLength - 8); });
     },
     -3},
    {"BigTIFF first IFD above 4294967295",
     [] { return WithDirectories(true, 1, [](auto &b) { b.SetFirstIfd(0x100000000ull); }); }, -9},
    {"BigTIFF count whose data size overflows",
     [] {
         return WithDirectories(true, 1,
                                [](auto &b) { b.AddRaw(b.Dir(0), 33550, 12, 1ull << 62, 16); });
     },
     -5},
    {"BigTIFF directory count far beyond the file",
     [] {
         return WithDirectories(true, 1, [](auto &b) {
             b.Dir(0).overrideCount = true;
             b.Dir(0).count = 1ull << 40;
         });
     },
     -3},
    {"BigTIFF next IFD 0xFFFFFFFF ends the chain",
     [] {
         return WithDirectories(true, 2, [](auto &b) {
             b.Dir(0).overrideNext = true;
             b.Dir(0).next = 0xFFFFFFFF;
         });
     },
     0},
};

class StatusTest : public ::testing::TestWithParam<StatusCase> {};

TEST_P(StatusTest, OpenRecordsTheStatus) {
    const StatusCase &c = GetParam();
    CTiffReader reader;
    const bool ok = OpenBytes(reader, c.make());
    EXPECT_EQ(ok, c.code == 0);
    EXPECT_EQ(reader.ErrorCode(), c.code);
    if (c.code != 0) {
        EXPECT_EQ(reader.ErrorFile(), L"Subsystems/TiffImage/TiffRead");
        EXPECT_GT(reader.ErrorLine(), 0);
        EXPECT_FALSE(reader.IsOpen());
        EXPECT_TRUE(reader.Directories().empty());
    }
}

INSTANTIATE_TEST_SUITE_P(Reader, StatusTest, ::testing::ValuesIn(kStatusCases),
                         [](const auto &info) {
                             std::string name;
                             for (char ch : std::string(info.param.name))
                                 name += std::isalnum(static_cast<unsigned char>(ch)) ? ch : '_';
                             return name;
                         });

TEST(Reader, ChainEndMarkerStopsAfterFirstDirectory) {
    for (bool bigTiff : {false, true}) {
        CTiffReader reader;
        ASSERT_TRUE(OpenBytes(reader, WithDirectories(bigTiff, 2, [](auto &b) {
                                  b.Dir(0).overrideNext = true;
                                  b.Dir(0).next = 0xFFFFFFFF;
                              })));
        EXPECT_EQ(reader.Directories().size(), 1u);
    }
}

TEST(Reader, LoopsEndTheChainAtTheRepeatedDirectory) {
    struct Case {
        int directories;
        int loopFrom;
        int loopTo;
        size_t expected;
    } cases[] = {{1, 0, 0, 1}, {3, 2, 0, 3}, {3, 2, 1, 3}, {4, 1, 1, 2}};
    for (const auto &c : cases) {
        TiffWriter b(true, false);
        for (int i = 0; i < c.directories; ++i)
            b.AddUInts(b.AddDirectory(), 256, 3, {static_cast<uint64_t>(i)});
        Bytes plain = b.Build();
        plain.resize(std::max<size_t>(plain.size(), 28), 0);
        // Find each directory's offset in the plain build, then point one back.
        CTiffReader probe;
        ASSERT_TRUE(OpenBytes(probe, plain));
        b.Dir(c.loopFrom).overrideNext = true;
        b.Dir(c.loopFrom).next = probe.Directories()[c.loopTo].offset;
        Bytes bytes = b.Build();
        bytes.resize(std::max<size_t>(bytes.size(), 28), 0);
        CTiffReader reader;
        ASSERT_TRUE(OpenBytes(reader, bytes)) << c.loopFrom << "->" << c.loopTo;
        EXPECT_EQ(reader.Directories().size(), c.expected) << c.loopFrom << "->" << c.loopTo;
    }
}

TEST(Reader, LoopFixturesEndCleanly) {
    struct Case {
        const char *file;
        size_t directories;
    } cases[] = {{"test_ifd_loop_to_self.tif", 1},
                 {"test_ifd_loop_to_first.tif", 2},
                 {"test_ifd_loop_subifd.tif", 5},
                 {"test_two_ifds.tif", 2}};
    for (const auto &c : cases) {
        CTiffReader reader;
        const std::string path = std::string(IOSID_TESTDATA) + "/tiff/" + c.file;
        ASSERT_TRUE(reader.Open(std::wstring(path.begin(), path.end()))) << c.file;
        EXPECT_EQ(reader.Directories().size(), c.directories) << c.file;
    }
}

// SubIFDs of directory 0. Directories 1 to 3 are built after it and reached only through its
// SubIFDs tag (whose values name directories by index, or 0 or an offset past the end) or
// through each other's next offsets.
TEST(Reader, SubDirectoriesAppendAfterTheChain) {
    constexpr int64_t kZeroOffset = -1, kPastEnd = -2;
    struct Case {
        const char *name;
        uint16_t type;
        std::vector<int64_t> subIfds; // empty: no tag
        std::vector<int> nexts;       // next of directories 1 to 3; -1 ends the chain
        bool ok;
        std::vector<uint64_t> appended; // directory indices read, in order
        int32_t code;
    } const cases[] = {
        {"listed", 13, {1, 2, 3}, {-1, -1, -1}, true, {1, 2, 3}, 0},
        {"chained from one", 4, {1}, {2, 3, -1}, true, {1, 2, 3}, 0},
        {"listed and chained", 13, {1, 2}, {2, -1, -1}, true, {1, 2}, 0},
        {"back into the main chain", 13, {0, 2}, {-1, -1, -1}, true, {2}, 0},
        {"loop", 13, {1}, {2, 1, -1}, true, {1, 2}, 0},
        {"none", 13, {}, {-1, -1, -1}, true, {}, 0},
        {"past the end keeps those before", 13, {1, kPastEnd}, {-1, -1, -1}, false, {1}, -5},
        {"zero offset", 4, {kZeroOffset}, {-1, -1, -1}, false, {}, -5},
        {"not an offset type", 3, {1}, {-1, -1, -1}, false, {}, -5},
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
                if (i == 0 && !c.subIfds.empty())
                    b.AddUInts(d, 330, type, std::vector<uint64_t>(c.subIfds.size(), 0));
            }
            // Find each directory's offset with all four in the chain, then unlink them.
            CTiffReader probe;
            ASSERT_TRUE(OpenBytes(probe, b.Build()));
            ASSERT_EQ(probe.Directories().size(), 4u);
            std::vector<uint64_t> values;
            for (int64_t v : c.subIfds)
                values.push_back(v == kPastEnd      ? uint64_t{1} << 30
                                 : v == kZeroOffset ? 0
                                                    : probe.Directories()[v].offset);
            if (!c.subIfds.empty()) {
                b.Dir(0).entries.pop_back();
                b.AddUInts(b.Dir(0), 330, type, values);
            }
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
        }
    }
}

TEST(Reader, SubDirectoriesOfTheLoopFixture) {
    CTiffReader reader;
    const std::string path = std::string(IOSID_TESTDATA) + "/tiff/test_ifd_loop_subifd.tif";
    ASSERT_TRUE(reader.Open(std::wstring(path.begin(), path.end())));
    ASSERT_EQ(reader.Directories().size(), 5u);
    EXPECT_TRUE(reader.ReadSubDirectories(0)); // no SubIFDs tag
    EXPECT_EQ(reader.Directories().size(), 5u);
    EXPECT_TRUE(reader.ReadSubDirectories(1));
    const auto &dirs = reader.Directories();
    std::vector<uint64_t> offsets;
    for (size_t i = 5; i < dirs.size(); ++i) {
        EXPECT_EQ(dirs[i].parent, 1);
        offsets.push_back(dirs[i].offset);
    }
    EXPECT_EQ(offsets, (std::vector<uint64_t>{352, 524, 696}));
    // Reading them again adds nothing.
    EXPECT_TRUE(reader.ReadSubDirectories(1));
    EXPECT_EQ(reader.Directories().size(), 8u);
    EXPECT_FALSE(reader.ReadSubDirectories(8));
    EXPECT_EQ(reader.ErrorCode(), -5);
}

TEST(Reader, VersionDecidesTheLayout) {
    // Version 41 is read as classic; 43 as BigTIFF with 20-byte entries and 8-byte counts.
    TiffWriter classic(false, false);
    classic.SetVersion(41);
    classic.AddUInts(classic.AddDirectory(), 256, 4, {123456});
    Bytes bytes = classic.Build();
    bytes.resize(64, 0);
    CTiffReader reader;
    ASSERT_TRUE(OpenBytes(reader, bytes));
    EXPECT_FALSE(reader.IsBigTiff());
    EXPECT_EQ(reader.Directories()[0].GetUInt(256, 0), 123456u);

    TiffWriter big(true, true);
    auto &d = big.AddDirectory();
    big.AddUInts(d, 256, 16, {0x123456789ull});
    big.AddUInts(d, 257, 3, {1, 2, 3, 4});
    ASSERT_TRUE(OpenBytes(reader, big.Build()));
    EXPECT_TRUE(reader.IsBigTiff());
    EXPECT_TRUE(reader.IsBigEndian());
    const auto &entries = reader.Directories()[0].entries;
    ASSERT_EQ(entries.size(), 2u);
    EXPECT_EQ(entries[0].GetUInt(), 0x123456789ull);
    EXPECT_TRUE(entries[1].IsInline()); // 8 bytes fit a BigTIFF value field
    EXPECT_EQ(entries[1].GetUInt(3), 4u);
}

TEST(Reader, MissingNameAndMissingFile) {
    CTiffReader reader;
    EXPECT_FALSE(reader.Open(std::wstring()));
    EXPECT_EQ(reader.ErrorCode(), -1);
    EXPECT_FALSE(reader.Open(L"/nonexistent/dir/none.tif"));
    EXPECT_EQ(reader.ErrorCode(), -2);
    // A later successful open clears the record.
    ASSERT_TRUE(OpenBytes(reader, Minimal28()));
    EXPECT_EQ(reader.ErrorCode(), 0);
}

TEST(Reader, EntryReadNeedsABufferAndAnOpenFile) {
    CTiffReader reader;
    ASSERT_TRUE(OpenBytes(reader, WithDirectories(false, 1, [](auto &) {})));
    const TiffEntry &offsets = reader.Directories()[0].entries[1];
    ASSERT_FALSE(offsets.IsInline());
    unsigned char buffer[12];
    EXPECT_FALSE(reader.ReadEntryValues(offsets, nullptr));
    EXPECT_EQ(reader.ErrorCode(), -1);
    EXPECT_TRUE(reader.ReadEntryValues(offsets, buffer));
    const TiffEntry copy = offsets;
    reader.Close();
    EXPECT_FALSE(reader.ReadEntryValues(copy, buffer));
    EXPECT_EQ(reader.ErrorCode(), -7);
    EXPECT_FALSE(reader.ReadBytes(0, buffer, 4, L"caller", 12));
    EXPECT_EQ(reader.ErrorCode(), -7);
    EXPECT_EQ(reader.ErrorFile(), L"caller");
    EXPECT_EQ(reader.ErrorLine(), 12);
}

// A source with a scripted length and failures.
class ScriptedSource : public tiff::TiffSource {
public:
    ScriptedSource(Bytes bytes, uint64_t length, bool failSeeks)
        : bytes_(std::move(bytes)), length_(length), failSeeks_(failSeeks) {}
    bool Length(uint64_t &length) override {
        length = length_;
        return true;
    }
    bool Seek(uint64_t position) override {
        pos_ = position;
        return !failSeeks_ || position == 0;
    }
    size_t Read(void *dest, size_t size) override {
        const size_t n = pos_ >= bytes_.size() ? 0 : std::min(size, bytes_.size() - pos_);
        std::memcpy(dest, bytes_.data() + pos_, n);
        pos_ += n;
        return n;
    }

private:
    Bytes bytes_;
    uint64_t length_;
    bool failSeeks_;
    size_t pos_ = 0;
};

TEST(Reader, SourceFailures) {
    CTiffReader reader;
    const Bytes bytes = WithDirectories(false, 1, [](auto &) {});
    EXPECT_FALSE(
        reader.Open(std::make_unique<ScriptedSource>(bytes, 0x100000000ull, false), L"huge"));
    EXPECT_EQ(reader.ErrorCode(), -9);
    EXPECT_FALSE(reader.Open(std::make_unique<ScriptedSource>(bytes, bytes.size(), true), L"seek"));
    EXPECT_EQ(reader.ErrorCode(), -3);
    // A length larger than the data makes the reads short.
    EXPECT_FALSE(reader.Open(std::make_unique<ScriptedSource>(
                                 Bytes(bytes.begin(), bytes.begin() + 30), bytes.size(), false),
                             L"short"));
    EXPECT_EQ(reader.ErrorCode(), -3);
}

TEST(Reader, ResourceCapsRecordMinus4) {
    TiffWriter b(false, true);
    auto &d = b.AddDirectory();
    for (uint64_t i = 0; i <= CTiffReader::kMaxEntriesPerDirectory; ++i)
        b.AddUInts(d, 256, 3, {i});
    CTiffReader reader;
    EXPECT_FALSE(OpenBytes(reader, b.Build()));
    EXPECT_EQ(reader.ErrorCode(), -4);

    // Many entries sharing one large value block would need far more memory than the file.
    TiffWriter shared(false, false);
    auto &s = shared.AddDirectory();
    for (int i = 0; i < 200; ++i)
        shared.AddRaw(s, 300 + i, 1, 60000, 8);
    Bytes bytes = shared.Build();
    bytes.resize(70000, 0);
    EXPECT_FALSE(OpenBytes(reader, bytes));
    EXPECT_EQ(reader.ErrorCode(), -4);
}

TEST(Reader, OpensFromAFile) {
    const std::string path = std::string(IOSID_BUILD_DIR) + "/reader_file_test.tif";
    const Bytes bytes = WithDirectories(false, 3, [](auto &) {});
    FILE *f = std::fopen(path.c_str(), "wb");
    ASSERT_NE(f, nullptr);
    std::fwrite(bytes.data(), 1, bytes.size(), f);
    std::fclose(f);
    CTiffReader reader;
    ASSERT_TRUE(reader.Open(std::wstring(path.begin(), path.end())));
    EXPECT_EQ(reader.FileLength(), bytes.size());
    ASSERT_EQ(reader.Directories().size(), 3u);
    EXPECT_EQ(reader.Directories()[2].GetUInt(256, 0), 3u);
    EXPECT_EQ(reader.Directories()[2].Find(273)->GetUInt(2), 24u);
    std::remove(path.c_str());
}

} // namespace
