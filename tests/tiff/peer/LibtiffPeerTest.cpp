// Our reader and loader against libtiff: every fixture image, and images libtiff writes in every
// container, layout, sample size, compression and predictor we read (directories, layout tags,
// strip or tile tables, pixels whole and in windows); the tag-name table against libtiff's; and
// iosid tiff-dump and tiff-decode end to end (output bytes against libtiff, JSON, exit statuses,
// the one-line failure report).
#include "Subsystems/TiffImage/TiffImageLoad.h"
#include "Subsystems/TiffImage/TiffRead.h"
#include "Subsystems/TiffImage/TiffUtil.h"
#include "shr/ErrorRecord.h"
#include "support/peer/Peer.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <array>
#include <cstdio>
#include <cstring>
#include <cwctype>
#include <map>
#include <regex>
#include <set>

namespace peer {

// Decodes the whole image with our reader and loader; false with the reader's error record.
bool OurRead(const std::string &path, unsigned dir, Raster &out, shr::ErrorRecord &error) {
    tiff::CTiffReader reader;
    tiff::TiffImageLoader loader(reader);
    bool ok = reader.Open(Wide(path)) && loader.Open(dir);
    if (ok) {
        out.spp = loader.Info().samplesPerPixel;
        out.bps = loader.Info().bitsPerSample;
        out.Allocate(loader.Info().width, loader.Info().height);
        // A pattern, so that bytes the loader leaves unwritten show up.
        std::memset(out.bytes.data(), 0xA5, out.bytes.size());
        ok = loader.ReadImage(out.bytes.data());
    }
    error = reader.Error();
    return ok;
}

// Our windows (whole and row by row) against crops of `expected`: the first difference or "".
std::string CompareWindows(const std::string &path, unsigned dir, const Raster &expected) {
    tiff::CTiffReader reader;
    tiff::TiffImageLoader loader(reader);
    if (!reader.Open(Wide(path)) || !loader.Open(dir))
        return "cannot open";
    loader.SetCacheLimit(0); // only the band a window needs is kept
    const uint32_t w = expected.width, h = expected.height;
    std::vector<std::array<uint32_t, 4>> boxes = {{0, 0, w, h}, {w - 1, h - 1, 1, 1}};
    if (w > 3 && h > 3)
        boxes.push_back({1, 2, w - 3, h - 3});
    if (w > 20 && h > 20)
        boxes.push_back({w / 3 + 1, h / 4, w / 2, h / 3});
    boxes.push_back({0, h / 2, w, (h + 1) / 2});
    for (const auto &[x, y, bw, bh] : boxes) {
        const std::string where = "window " + std::to_string(x) + "," + std::to_string(y) + " " +
                                  std::to_string(bw) + "x" + std::to_string(bh);
        peer::Raster want{0, 0, expected.spp, expected.bps, {}, {}};
        want.Allocate(bw, bh);
        for (uint32_t r = 0; r < bh; ++r)
            for (uint32_t c = 0; c < bw; ++c)
                for (uint32_t s = 0; s < want.spp; ++s)
                    CopySample(expected.bytes.data(), expected.SampleBit(x + c, y + r, s),
                               want.bytes.data(), want.SampleBit(c, r, s), want.bps);
        std::vector<unsigned char> got(want.bytes.size(), 0x5A);
        if (!loader.ReadWindow(x, y, bw, bh, got.data()) || got != want.bytes)
            return "whole " + where;
        // Row by row, each into a fresh buffer.
        const auto rowBytes = static_cast<size_t>(want.RowBytes());
        for (uint32_t r = 0; r < bh; ++r) {
            std::vector<unsigned char> row(rowBytes + 3, 0x5A);
            if (!loader.ReadWindow(x, y + r, bw, 1, row.data()) ||
                std::memcmp(row.data(), want.bytes.data() + r * rowBytes, rowBytes) != 0)
                return "row-by-row " + where;
        }
    }
    return {};
}

// Our strip or tile offsets and byte counts against libtiff's: the first difference or "".
// Tables the file leaves out (libtiff estimates them) are not compared.
std::string CompareChunkTables(const LibtiffLayout &lt, const tiff::TiffDirectory &dir) {
    const tiff::TiffEntry *offsets = dir.Find(lt.tiled ? 324 : 273);
    const tiff::TiffEntry *counts = dir.Find(lt.tiled ? 325 : 279);
    if (offsets == nullptr || counts == nullptr)
        return {};
    if (offsets->count != lt.offsets.size())
        return "chunk count " + std::to_string(offsets->count);
    for (size_t i = 0; i < lt.offsets.size(); ++i)
        if (offsets->GetUInt(i) != lt.offsets[i] || counts->GetUInt(i) != lt.byteCounts[i])
            return "chunk " + std::to_string(i);
    return {};
}

} // namespace peer

namespace {

// Directory `dir` decoded by us against `expected`, whole and in windows; where `difference`
// names a rule of ours that libtiff does not share, our decoder refuses it with status -5.
void ExpectDecodes(const std::string &path, unsigned dir, const peer::Raster &expected,
                   const char *difference) {
    peer::Raster ours;
    shr::ErrorRecord error;
    const bool ok = peer::OurRead(path, dir, ours, error);
    if (difference != nullptr) {
        EXPECT_FALSE(ok) << difference;
        EXPECT_EQ(error.code, -5) << difference;
        EXPECT_EQ(error.file, L"Subsystems/TiffImage/TiffDecodeStrip") << difference;
        return;
    }
    ASSERT_TRUE(ok) << "status " << error.code;
    EXPECT_TRUE(ours.bytes == expected.bytes);
    EXPECT_EQ(peer::CompareWindows(path, dir, expected), "");
}

std::vector<std::string> FixtureFiles() {
    std::vector<std::string> files = peer::TestTiffs("geotiff"), more = peer::TestTiffs("tiff");
    files.insert(files.end(), more.begin(), more.end());
    return files;
}

// Compressions we do not decode: CCITT, old JPEG, JPEG, LogLuv, WebP.
const std::set<uint16_t> kUndecoded = {2, 3, 4, 6, 7, 34676, 50001};

// Where our required rules give a different result from libtiff's (status -5).
const std::map<std::string, const char *> kDifferences = {
    {"test_float64_predictor2_be_lzw.tif", "predictor 2 is undone only on 8 to 32-bit samples"},
    {"test_float64_predictor2_le_lzw.tif", "predictor 2 is undone only on 8 to 32-bit samples"},
    {"deflate-last-strip-extra-data.tiff", "a Deflate strip must decode to exactly its size"},
};

// Layout tags and strip or tile tables of one directory agree with libtiff's.
void CompareTags(const peer::LibtiffLayout &lt, const tiff::TiffDirectory &dir) {
    EXPECT_EQ(dir.GetUInt(256, 0), lt.width);
    EXPECT_EQ(dir.GetUInt(257, 0), lt.height);
    EXPECT_EQ(dir.GetUInt(258, 1), lt.bps);
    EXPECT_EQ(dir.GetUInt(259, 1), lt.compression);
    EXPECT_EQ(dir.GetUInt(277, 1), lt.spp);
    EXPECT_EQ(dir.GetUInt(284, 1), lt.planar);
    EXPECT_EQ(dir.GetUInt(262, 0), lt.photometric);
    EXPECT_EQ(peer::CompareChunkTables(lt, dir), "");
}

class FixturePeer : public ::testing::TestWithParam<std::string> {};

TEST_P(FixturePeer, MatchesLibtiff) {
    const std::string path = GetParam();
    const std::string name = peer::FileName(path);
    tiff::CTiffReader reader;
    ASSERT_TRUE(reader.Open(peer::Wide(path))) << reader.ErrorCode();
    const unsigned count = peer::LibtiffDirectoryCount(path);
    ASSERT_EQ(reader.Directories().size(), count);
    for (unsigned d = 0; d < count; ++d) {
        SCOPED_TRACE(name + " directory " + std::to_string(d));
        peer::LibtiffLayout layout;
        ASSERT_TRUE(peer::LibtiffDescribe(path, d, layout));
        CompareTags(layout, reader.Directories()[d]);
        if (kUndecoded.count(layout.compression)) {
            peer::Raster ours;
            shr::ErrorRecord error;
            EXPECT_FALSE(peer::OurRead(path, d, ours, error));
            EXPECT_EQ(error.code, -6);
            continue;
        }
        peer::Raster theirs;
        std::string message;
        ASSERT_TRUE(peer::LibtiffRead(path, d, theirs, message)) << message;
        const auto difference = kDifferences.find(name);
        ExpectDecodes(path, d, theirs,
                      difference == kDifferences.end() ? nullptr : difference->second);
    }
}

INSTANTIATE_TEST_SUITE_P(Fixtures, FixturePeer, ::testing::ValuesIn(FixtureFiles()),
                         [](const auto &info) {
                             std::string name = peer::FileName(info.param);
                             for (char &c : name)
                                 if (!std::isalnum(static_cast<unsigned char>(c)))
                                     c = '_';
                             return name;
                         });

// Every tag libtiff names, ours names the same in capitals, apart from the few the table
// spells after TIFF 6.0 or its own custom.
TEST(TagNames, AgreeWithLibtiff) {
    const std::map<uint32_t, std::wstring> kOwnSpelling = {
        {254, L"NEWSUBFILETYPE"}, {255, L"SUBFILETYPE"}, {263, L"THRESHOLDING"},
        {34377, L"PHOTOSHOPIMAGERESOURCES"}, {34665, L"EXIFID"}};
    int compared = 0;
    for (const auto &[tag, theirs] :
         peer::LibtiffTagNames(std::string(IOSID_TESTDATA) + "/sample/relief.tif")) {
        const std::wstring &ours = tiff::TiffTagName(static_cast<int32_t>(tag));
        if (ours == L"UNKNOWN")
            continue; // libtiff knows more tags than the table lists
        std::wstring expected;
        for (char c : theirs)
            expected.push_back(static_cast<wchar_t>(std::towupper(static_cast<unsigned char>(c))));
        if (const auto own = kOwnSpelling.find(tag); own != kOwnSpelling.end())
            expected = own->second;
        EXPECT_EQ(ours, expected) << tag << " " << theirs;
        ++compared;
    }
    EXPECT_GE(compared, 69);
}

struct Case {
    const char *mode; // libtiff's: "w", then "8" for BigTIFF, then the byte order "l" or "b"
    bool tiled;
    uint16_t spp, planar, bps, sampleFormat, compression, predictor;

    bool BigEndian() const { return std::strchr(mode, 'b') != nullptr; }
    bool BigTiff() const { return std::strchr(mode, '8') != nullptr; }
};

std::vector<Case> AllCases() {
    const std::pair<uint16_t, uint16_t> samples[] = {{1, 1}, {3, 1}, {3, 2}};
    const std::pair<uint16_t, uint16_t> formats[] = {{1, 1},  {2, 1},  {4, 1},  {8, 1},  {16, 1},
                                                     {16, 2}, {16, 3}, {32, 1}, {32, 3}, {64, 3}};
    std::vector<Case> cases;
    for (const char *mode : {"wl", "wb", "w8l", "w8b"})
        for (bool tiled : {false, true})
            for (auto [spp, planar] : samples)
                for (auto [bps, format] : formats)
                    for (uint16_t compression : {1, 5, 8, 32946, 32773})
                        for (uint16_t predictor : {1, 2, 3}) {
                            const bool takesPredictor = compression != 1 && compression != 32773;
                            if (predictor != 1 && !takesPredictor)
                                continue;
                            if ((predictor == 2 && bps < 8) || (predictor == 3 && format != 3))
                                continue;
                            cases.push_back({mode, tiled, spp, planar, bps, format, compression,
                                             predictor});
                        }
    return cases;
}

std::string CaseName(const Case &c) {
    char buf[128];
    std::snprintf(buf, sizeof buf, "%s%s_%s_%s_b%u%c_c%u_p%u", c.BigTiff() ? "Big" : "",
                  c.BigEndian() ? "BE" : "LE", c.tiled ? "tiles" : "strips",
                  c.spp == 1 ? "gray" : c.planar == 2 ? "planar3" : "chunky3", c.bps,
                  "?usf"[c.sampleFormat], c.compression, c.predictor);
    return buf;
}

// Gradients with a little noise, in machine order or bit-packed. Float samples need no real
// numbers: the predictors and codings work on their bytes.
peer::Raster MakeImage(const Case &c, uint32_t w, uint32_t h, uint32_t seed) {
    peer::Raster r;
    r.spp = c.spp;
    r.bps = c.bps;
    r.Allocate(w, h);
    uint32_t state = seed * 2654435761u;
    for (uint32_t y = 0; y < h; ++y)
        for (uint32_t x = 0; x < w; ++x)
            for (uint32_t s = 0; s < r.spp; ++s) {
                state = state * 1664525u + 1013904223u;
                uint64_t v = x * 3u + y * 5u + s * 11u + (x * y) / 7u + (state >> 28) +
                             (uint64_t{y} << 20);
                v = r.bps == 64 ? v * 0x9E3779B97F4A7C15ull : v & ((uint64_t{1} << r.bps) - 1);
                unsigned char bytes[8];
                std::memcpy(bytes, &v, 8);
                if (r.bps < 8)
                    bytes[0] = static_cast<unsigned char>(v << (8 - r.bps));
                peer::CopySample(bytes, 0, r.bytes.data(), r.SampleBit(x, y, s), r.bps);
            }
    return r;
}

// Our rules refuse these although libtiff reads them.
const char *KnownDifference(const Case &c) {
    if (c.predictor == 2 && c.bps == 64)
        return "predictor 2 is undone only on 8, 16 and 32-bit samples";
    if (c.predictor == 3 && c.bps == 16)
        return "predictor 3 is undone only on 32 and 64-bit samples";
    return nullptr;
}

void PrintTo(const Case &c, std::ostream *os) { *os << CaseName(c); }

class WrittenPeer : public ::testing::TestWithParam<Case> {};

TEST_P(WrittenPeer, MatchesWhatWasWritten) {
    const Case &c = GetParam();
    // 37 x 23 and 19 x 12, in tiles of 16 x 16 or strips of 5 rows.
    const std::vector<peer::Raster> images = {MakeImage(c, 37, 23, 1), MakeImage(c, 19, 12, 2)};
    const std::string path = peer::ScratchPath(CaseName(c) + ".tif");
    peer::WriteLayout layout{c.compression, c.predictor, c.planar, c.sampleFormat,
                             c.tiled,       16,          c.tiled ? 16u : 5u};
    std::string message;
    ASSERT_TRUE(peer::LibtiffWrite(path, c.mode, {layout}, images, message)) << message;

    tiff::CTiffReader reader;
    ASSERT_TRUE(reader.Open(peer::Wide(path)));
    EXPECT_EQ(reader.IsBigEndian(), c.BigEndian());
    EXPECT_EQ(reader.IsBigTiff(), c.BigTiff());
    ASSERT_EQ(reader.Directories().size(), images.size());
    for (unsigned d = 0; d < images.size(); ++d) {
        SCOPED_TRACE("directory " + std::to_string(d));
        peer::Raster theirs;
        ASSERT_TRUE(peer::LibtiffRead(path, d, theirs, message)) << message;
        // libtiff 4.5 reads big-endian floats it wrote with the floating point predictor back
        // byte-swapped; such files are compared with what libtiff reads from them.
        const bool writerSwapsFirst = c.BigEndian() && c.predictor == 3;
        const peer::Raster &expected = writerSwapsFirst ? theirs : images[d];
        ASSERT_TRUE(writerSwapsFirst || theirs.bytes == images[d].bytes)
            << "libtiff does not read back its image";
        tiff::TiffImageLoader loader(reader);
        ASSERT_TRUE(loader.Open(d));
        const tiff::TiffImageInfo &info = loader.Info();
        EXPECT_EQ(info.width, images[d].width);
        EXPECT_EQ(info.height, images[d].height);
        EXPECT_EQ(info.sampleFormat, c.sampleFormat);
        EXPECT_EQ(info.extraSamples.size(), c.spp - 1u);
        peer::LibtiffLayout lt;
        ASSERT_TRUE(peer::LibtiffDescribe(path, d, lt));
        EXPECT_EQ(peer::CompareChunkTables(lt, reader.Directories()[d]), "");
        ExpectDecodes(path, d, expected, KnownDifference(c));
    }
    std::remove(path.c_str());
}

INSTANTIATE_TEST_SUITE_P(Libtiff, WrittenPeer, ::testing::ValuesIn(AllCases()),
                         [](const auto &info) { return CaseName(info.param); });

using peer::CommandResult;
using peer::ReadFile;

CommandResult Iosid(const std::string &args) { return peer::Run(IOSID_PROGRAM " " + args); }

std::string Fixture(const char *name) { return std::string(IOSID_TESTDATA) + "/" + name; }

TEST(TiffCommands, DecodeWritesWhatLibtiffDecodes) {
    const std::pair<const char *, unsigned> images[] = {{"tiff/rgb-3c-16b.tiff", 0},
                                                        {"tiff/miniswhite-1c-1b.tiff", 0},
                                                        {"tiff/tiff_with_subifd_chain.tif", 1}};
    for (const auto &[name, image] : images) {
        const std::string out = peer::ScratchPath("cli.raw");
        const CommandResult run = Iosid("tiff-decode " + Fixture(name) + " --image " +
                                        std::to_string(image) + " -o " + out);
        peer::Raster theirs;
        std::string message;
        ASSERT_TRUE(peer::LibtiffRead(Fixture(name), image, theirs, message)) << message;
        ASSERT_EQ(run.status, 0) << name << ": " << run.err;
        EXPECT_EQ(ReadFile(out), std::string(theirs.bytes.begin(), theirs.bytes.end())) << name;
        EXPECT_NE(run.out.find("width: " + std::to_string(theirs.width) + "\n"), std::string::npos);
        EXPECT_NE(run.out.find("bits per sample: " + std::to_string(theirs.bps) + "\n"),
                  std::string::npos);
    }
    const CommandResult first = Iosid("tiff-decode " + Fixture("geotiff/byte.tif") + " -o " +
                                      peer::ScratchPath("cli.raw") + " --json");
    ASSERT_EQ(first.status, 0);
    EXPECT_NE(
        first.out.find("\"width\":20,\"height\":20,\"samplesPerPixel\":1,\"bitsPerSample\":8"),
        std::string::npos)
        << first.out;
}

TEST(TiffCommands, FailuresPrintOneLine) {
    struct Case {
        std::string args;
        std::string pattern;
    } cases[] = {
        {"tiff-decode " + Fixture("tiff/testfax4.tiff") + " -o " + peer::ScratchPath("x.raw"),
         "iosid: [^\n]*testfax4.tiff: Subsystems/TiffImage/TiffImageLoad line [0-9]+: status -6\n"},
        {"tiff-dump " + peer::ScratchPath("none.tif"),
         "iosid: [^\n]*none.tif: Subsystems/TiffImage/TiffRead line [0-9]+: status -2\n"},
    };
    for (const Case &c : cases) {
        const CommandResult run = Iosid(c.args);
        EXPECT_EQ(run.status, 2) << c.args;
        EXPECT_TRUE(std::regex_match(run.err, std::regex(c.pattern))) << run.err;
    }
    EXPECT_EQ(Iosid("tiff-decode " + Fixture("geotiff/byte.tif")).status, 64); // no -o
    EXPECT_EQ(Iosid("tiff-dump").status, 64);
}

TEST(TiffCommands, DumpListsEveryEntry) {
    const CommandResult text = Iosid("tiff-dump " + Fixture("geotiff/byte.tif"));
    ASSERT_EQ(text.status, 0);
    EXPECT_NE(text.out.find("34735 GEOKEYDIRECTORYTAG"), std::string::npos);
    EXPECT_NE(text.out.find("count 24: 1 1 0 5 1024 0 1 1 1025 0 1 1 1026 34737 21 0 ..."),
              std::string::npos);
    EXPECT_NE(text.out.find("\"NAD27 / UTM zone 11N|\""), std::string::npos);
    const CommandResult json =
        Iosid("tiff-dump --json " + Fixture("tiff/custom_dir_EXIF_GPS.tiff"));
    ASSERT_EQ(json.status, 0);
    EXPECT_FALSE(nlohmann::json::parse(json.out, nullptr, false)["directories"].empty());
}

} // namespace
