// Every fixture image: directories, layout tags and pixels compared with libtiff; and the
// tag-name table against libtiff's names.
#include "OurLoader.h"

#include "Subsystems/TiffImage/TiffRead.h"
#include "Subsystems/TiffImage/TiffUtil.h"

#include <gtest/gtest.h>

#include <cwctype>
#include <map>
#include <set>

namespace {

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
void CompareTags(const peer::LibtiffLayout &lt, const tiff::TiffDirectory &dir,
                 const std::string &where) {
    EXPECT_EQ(dir.GetUInt(256, 0), lt.width) << where;
    EXPECT_EQ(dir.GetUInt(257, 0), lt.height) << where;
    EXPECT_EQ(dir.GetUInt(258, 1), lt.bps) << where;
    EXPECT_EQ(dir.GetUInt(259, 1), lt.compression) << where;
    EXPECT_EQ(dir.GetUInt(277, 1), lt.spp) << where;
    EXPECT_EQ(dir.GetUInt(284, 1), lt.planar) << where;
    EXPECT_EQ(dir.GetUInt(262, 0), lt.photometric) << where;
    EXPECT_EQ(peer::CompareChunkTables(lt, dir), "") << where;
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
        const std::string where = name + " directory " + std::to_string(d);
        peer::LibtiffLayout layout;
        ASSERT_TRUE(peer::LibtiffDescribe(path, d, layout)) << where;
        CompareTags(layout, reader.Directories()[d], where);
        peer::Raster ours;
        shr::ErrorRecord error;
        const bool ok = peer::OurRead(path, d, ours, error);
        if (kUndecoded.count(layout.compression)) {
            EXPECT_FALSE(ok) << where;
            EXPECT_EQ(error.code, -6) << where;
            continue;
        }
        peer::Raster theirs;
        std::string message;
        ASSERT_TRUE(peer::LibtiffRead(path, d, theirs, message)) << where << ": " << message;
        if (auto diff = kDifferences.find(name); diff != kDifferences.end()) {
            EXPECT_FALSE(ok) << where << ": " << diff->second;
            EXPECT_EQ(error.code, -5) << where << ": " << diff->second;
            continue;
        }
        ASSERT_TRUE(ok) << where << ": status " << error.code;
        EXPECT_TRUE(ours.bytes == theirs.bytes) << where;
        EXPECT_EQ(peer::CompareWindows(path, d, theirs), "") << where;
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

} // namespace
