// The file-information table: its five rows and their value types, and the empty table.
#include "RecordingManager.h"
#include "SidImportFilter.h"
#include "shr/Strings.h"

#include "../sid/TestEngine.h"
#include "../sid/TestFiles.h"

#include <gtest/gtest.h>

using sidtest::TestImage;

namespace {

struct InfoCase {
    const char *name;
    LizardTech::LTIColorSpace colorSpace;
    uint16_t bands;
};

// Grey or colour, every file that opens reports the reader's default 24-bit output.
const InfoCase kOpens[] = {{"colour", LizardTech::LTI_COLORSPACE_RGB, 3},
                           {"grey", LizardTech::LTI_COLORSPACE_GRAYSCALE, 1},
                           {"colour with alpha", LizardTech::LTI_COLORSPACE_RGBA, 4}};

TEST(FileInfo, FiveRowsInNameOrder) {
    for (const InfoCase &c : kOpens) {
        TestImage image;
        image.width = 321;
        image.height = 123;
        image.colorSpace = c.colorSpace;
        image.bands = c.bands;
        sidtest::TestEngineScope engine(image);
        plugintest::RecordingManager host;
        SidImportFilter filter(host);
        const plio::ImportFileInfo info =
            filter.GetFileInfo(true, sidtest::Wide(sidtest::WriteScratch("info.bin", "TEST")));
        std::vector<std::pair<std::string, std::string>> rows;
        for (const auto &[name, value] : info)
            rows.emplace_back(shr::WtoA(name), shr::WtoA(plio::FileInfoValueText(value)));
        const std::vector<std::pair<std::string, std::string>> expected = {
            {"Color Format", "RGB"},
            {"File Format", "LizardTech MrSID Image"},
            {"Image Bits Per Pixel", "24"},
            {"Image Height", "123"},
            {"Image Width", "321"}};
        EXPECT_EQ(rows, expected) << c.name;
        EXPECT_NE(boost::any_cast<int>(info.Find(L"Image Width")), nullptr);
        EXPECT_NE(boost::any_cast<std::wstring>(info.Find(L"Color Format")), nullptr);
        EXPECT_NE(boost::any_cast<std::wstring>(info.Find(L"File Format")), nullptr);
        EXPECT_TRUE(host.writes.empty()) << "file information must not touch the options";
        EXPECT_EQ(filter.GetImageWidth(), 0u);
    }
}

TEST(FileInfo, EmptyForFilesThatDoNotOpen) {
    plugintest::RecordingManager host;
    SidImportFilter filter(host);
    const std::string notImage = sidtest::WriteScratch("info_text.txt", "not an image at all");
    for (const std::string &file : {std::string("/nonexistent/x.sid"), notImage})
        EXPECT_TRUE(filter.GetFileInfo(false, sidtest::Wide(file)).empty()) << file;
    TestImage broken;
    broken.failInitialize = true;
    sidtest::TestEngineScope engine(broken);
    EXPECT_TRUE(filter.GetFileInfo(false, sidtest::Wide(notImage)).empty());
}

} // namespace
