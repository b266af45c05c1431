// The import driver through a recording host: what is handed over and in which order, the
// colour formats, the scale clamp, the linked image, the dialog, and every failure path.
#include "RecordingManager.h"
#include "SidImportFilter.h"
#include "shr/Strings.h"

#include "../sid/TestEngine.h"
#include "../sid/TestFiles.h"

#include "plio/Exception.h"

#include <gtest/gtest.h>

#include <functional>

using namespace LizardTech;
using plugintest::HandOver;
using sidtest::TestImage;
using Answer = plio::IoManager::DialogAnswer;

namespace {

constexpr int kAbort = -1;

struct ImportCase {
    const char *name;
    std::function<void(TestImage &)> image;
    std::map<std::wstring, unsigned int> stored;
    Answer answer;                               // Unanswered: not interactive
    std::map<std::wstring, unsigned int> dialog; // the values a confirmation sets
    // Expected: the error line (0 none, kAbort for a cancel), hand-overs in order, the image.
    int errorLine = 0;
    std::vector<HandOver::Kind> handOvers = {HandOver::Image};
    uint32_t width = 100, height = 600;
    int32_t colorFormat = 9;
    unsigned int savedScale = 1, savedFormat = 24; // 0: nothing saved
};

const auto kPlain = [](TestImage &) {};
const auto kNone = Answer::Unanswered;

// One case a row.
// clang-format off
const ImportCase kCases[] = {
    {"stored scale above the largest reduction is clamped and saved",
     [](TestImage &im) { im.minMag = 1.0 / 16; }, {{L"Scale", 64}}, kNone, {}, 0,
     {HandOver::Image}, 6, 37, 9, 16, 24},
    {"24-bit import of an image with alpha is promoted to 32 without saving it",
     [](TestImage &im) { im.colorSpace = LTI_COLORSPACE_RGBA, im.bands = 4; },
     {}, kNone, {}, 0, {HandOver::Image}, 100, 600, 12, 1, 24},
    {"a transform without a system hands over an unreferenced warp first",
     [](TestImage &im) { im.geo = LTIGeoCoord(500000.5, 4200000.5, 1.0, -1.0, 0.0, 0.0); }, {},
     kNone, {}, 0, {HandOver::UnreferencedCRS, HandOver::Image}},
    {"the dialog's scale and region are used and saved", kPlain, {}, Answer::Confirmed,
     {{L"Scale", 2}, {L"LRX", 49}, {L"LRY", 99}}, 0, {HandOver::Image}, 25, 50, 9, 2},
    {"cancelling the dialog hands nothing over", kPlain, {}, Answer::Cancelled, {}, kAbort, {},
     0, 0, 0, 0, 0},
    {"a file that does not open fails before anything is saved",
     [](TestImage &im) { im.failInitialize = true; }, {}, kNone, {}, 213, {}, 0, 0, 0, 0, 0},
    {"a row failing after others leaves no image with the host",
     [](TestImage &im) { im.failOnRead = 1; }, {}, kNone, {}, 346, {}, 0, 0, 0, 1, 24},
};
// clang-format on

class Import : public ::testing::TestWithParam<ImportCase> {};

TEST_P(Import, HandsOverWhatTheCaseExpects) {
    const ImportCase &c = GetParam();
    TestImage image;
    c.image(image);
    sidtest::TestEngineScope engine(image);
    plugintest::RecordingManager host;
    host.stored = c.stored;
    host.answer = c.answer;
    host.answerValues = c.dialog;
    SidImportFilter filter(host);
    // The composed message reaches the framework as a format without arguments: of the path,
    // only "%%" is read as a format, as "%".
    const std::string file = sidtest::WriteScratch("import%%s%d.bin", "TEST");
    const std::wstring shown = sidtest::Wide(sidtest::ScratchPath("import%s%d.bin"));
    int line = 0;
    std::wstring message;
    try {
        filter.Import(sidtest::Wide(file), c.answer != kNone);
    } catch (const plio::AbortException &e) {
        line = kAbort;
        EXPECT_EQ(e.GetLine(), 226);
    } catch (const plio::Exception &e) {
        line = e.GetLine();
        message = e.GetMessage();
        EXPECT_EQ(e.GetSourceFile(), L"Subsystems/Plio/ioSid/SidImportFilter");
    }
    ASSERT_EQ(line, c.errorLine);
    if (line > 0) {
        EXPECT_NE(message.find(L"'" + shown + L"'"), std::wstring::npos) << shr::WtoA(message);
        EXPECT_NE(message.find(L"\n\n--- Additional error details ---\n"), std::wstring::npos)
            << shr::WtoA(message);
    }
    std::vector<HandOver::Kind> kinds;
    for (const HandOver &h : host.handOvers)
        kinds.push_back(h.kind);
    EXPECT_EQ(kinds, c.handOvers);
    if (!host.handOvers.empty()) {
        const HandOver &img = host.handOvers.back();
        EXPECT_EQ(img.width, c.width);
        EXPECT_EQ(img.height, c.height);
        EXPECT_EQ(img.colorFormat, c.colorFormat);
        EXPECT_EQ(img.rowBytes, shr::RowBytes(shr::ColorFormat(c.colorFormat), c.width));
        EXPECT_EQ(img.rows, c.height);
    }
    EXPECT_EQ(host.receiversDropped, line == 346 ? 1 : 0);
    unsigned int value = 0;
    bool persist = false;
    EXPECT_EQ(host.LastWrite(L"Scale", value, persist), c.savedScale != 0);
    if (c.savedScale) {
        EXPECT_EQ(value, c.savedScale);
        EXPECT_TRUE(persist);
        ASSERT_TRUE(host.LastWrite(L"Format", value, persist));
        EXPECT_EQ(value, c.savedFormat);
    }
    EXPECT_EQ(host.dialogsShown, c.answer != kNone ? 1 : 0);
}

INSTANTIATE_TEST_SUITE_P(Cases, Import, ::testing::ValuesIn(kCases),
                         [](const auto &info) { return "case" + std::to_string(info.index); });

TEST(ImportProgress, RunsFromZeroToOneAfterTheNamedStart) {
    TestImage image;
    image.height = 4;
    sidtest::TestEngineScope engine(image);
    plugintest::RecordingManager host;
    SidImportFilter filter(host);
    filter.Import(sidtest::Wide(sidtest::WriteScratch("progress.bin", "TEST")), false);
    EXPECT_EQ(host.progress,
              (std::vector<std::wstring>{L"start", L"Importing SID file progress.bin", L"end"}));
    EXPECT_EQ(host.proportions, (std::vector<double>{0.0, 0.25, 0.5, 0.75, 1.0}));
}

TEST(ImportFilter, AnswersTheHostsQuestions) {
    plugintest::RecordingManager host;
    SidImportFilter filter(host);
    const shr::CTypeInfo image("plio::TrImage"), crs("plio::TrCRS");
    EXPECT_TRUE(filter.CanProduce(&image)); // a host's own copy of the id, compared by name
    EXPECT_FALSE(filter.CanProduce(&crs));
    EXPECT_FALSE(filter.CanProduce(nullptr));
    EXPECT_FALSE(filter.CanImportFile(L"/nonexistent/file.sid"));
    EXPECT_FALSE(filter.CanImportFile(sidtest::Wide(sidtest::WriteScratch("text.txt", "hello"))));
    sidtest::TestEngineScope engine(TestImage{});
    EXPECT_TRUE(filter.CanImportFile(sidtest::Wide(sidtest::WriteScratch("any.bin", "TEST"))));
}

} // namespace
