// The filter through a recording host: the import options (string and store asymmetries,
// region fitting, what is saved with which persist flag), what an import hands over and in which
// order, every failure path, the order of the filter's virtual operations, and the cached bitmap.
#include "SidImportFilter.h"
#include "shr/Strings.h"

#include "../sid/TestEngine.h"
#include "../sid/TestFiles.h"

#include "gcs/GCSDef.h"
#include "imagelib/CachedSidBitmap.h"
#include "plio/Exception.h"
#include "plio/IoManager.h"
#include "plio/TrCRS.h"
#include "plio/TrImage.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <functional>
#include <map>
#include <memory>
#include <vector>

using namespace LizardTech;
using sidtest::TestImage;
using Answer = plio::IoManager::DialogAnswer;

namespace {

struct HandOver {
    enum Kind { Image, GeoreferencedCRS, UnreferencedCRS } kind;
    uint32_t width = 0, height = 0, rowBytes = 0, rows = 0; // rows: those the host received
    int32_t colorFormat = 0;
};

// A host that records what a filter does to it: option writes, progress, the dialog it was asked
// to answer, and every hand-over in order. Linked images are left to the end-to-end tests.
class RecordingManager : public plio::IoManager {
public:
    using Options = std::map<std::wstring, unsigned int>;
    Options stored;                                    // what GetOption finds
    std::vector<std::pair<std::wstring, bool>> writes; // names and persist flags
    std::vector<std::wstring> progress;                // "start", messages, "end"
    std::vector<double> proportions;
    std::vector<HandOver> handOvers;
    std::vector<HandOver::Kind> kinds;
    int receiversDropped = 0; // receivers destroyed without their image being handed over
    DialogAnswer answer = DialogAnswer::Unanswered;
    Options answerValues; // set in the dialog's values when confirming
    int dialogsShown = 0;

    bool GetOption(const std::wstring &name, unsigned int &value, bool) const override {
        const auto it = stored.find(name);
        return it != stored.end() && (value = it->second, true);
    }
    void SetOption(const std::wstring &name, unsigned int value, bool persist) override {
        writes.emplace_back(name, persist);
        stored[name] = value;
    }
    // The last value written for `name`, followed by " persist" when so flagged; "" if none.
    std::string LastWrite(const std::wstring &name) const {
        for (auto it = writes.rbegin(); it != writes.rend(); ++it)
            if (it->first == name)
                return std::to_string(stored.at(name)) + (it->second ? " persist" : "");
        return "";
    }
    void ProgressStart(const std::wstring &text, bool, bool) override {
        progress.push_back(L"start" + text);
    }
    void ProgressMessage(const std::wstring &text) override { progress.push_back(text); }
    void ProgressProportion(double done) override { proportions.push_back(done); }
    void ProgressEnd() override { progress.push_back(L"end"); }
    void Log(const std::wstring &) override {}
    DialogAnswer AnswerDialog(const std::wstring &, Options &values) override {
        ++dialogsShown;
        if (answer == DialogAnswer::Confirmed)
            for (const auto &[name, value] : answerValues)
                values[name] = value;
        return answer;
    }

    std::unique_ptr<plio::ScanlineReceiver>
    ReceiveScanlines(const plio::ScanlineLayout &) override {
        rowsReceived_ = 0, imageTaken_ = false;
        return std::make_unique<Receiver>(*this);
    }
    void ImportObject(plio::TrBase &object) override {
        HandOver record{HandOver::Image};
        if (object.IsA(plio::TrCRS::GetClassTypeId())) {
            const gcs::CSDef *cs = static_cast<plio::TrCRS &>(object).GetCS();
            const bool referenced = cs && cs->GetType() == gcs::CSType::Georeferenced;
            record.kind = referenced ? HandOver::GeoreferencedCRS : HandOver::UnreferencedCRS;
        } else if (object.IsA(plio::TrImage::GetClassTypeId())) {
            const auto &image = static_cast<plio::TrImage &>(object);
            const plio::ScanlineLayout &layout = image.GetLayout();
            record.width = layout.width, record.height = layout.height;
            record.rowBytes = uint32_t(layout.rowBytes), record.colorFormat = layout.format;
            if (image.IsComplete())
                imageTaken_ = true, record.rows = rowsReceived_;
        }
        handOvers.push_back(record);
        kinds.push_back(record.kind);
    }

private:
    struct Receiver : plio::ScanlineReceiver {
        explicit Receiver(RecordingManager &m) : manager(m) {}
        ~Receiver() override { manager.receiversDropped += !manager.imageTaken_; }
        void Row(const void *, uint32_t) override { ++manager.rowsReceived_; }
        void End() override {}
        RecordingManager &manager;
    };
    uint32_t rowsReceived_ = 0;
    bool imageTaken_ = false;
};

constexpr unsigned int kAll = 4294967295u;
constexpr unsigned int kUnwritten = 0xDEADu;

struct OptionsCase {
    const char *name;
    std::map<std::wstring, unsigned int> stored;
    uint32_t imageWidth, imageHeight; // 0: unknown
    const wchar_t *options;           // null: LoadOptions(true) alone
    // Expected fields.
    uint32_t scale;
    int32_t format;
    uint32_t maxDim;
    std::array<uint32_t, 4> region;
    // Expected writes: Scale and Format values and their persist flag, and whether the region
    // was written (always without persist).
    unsigned int savedScale = kUnwritten, savedFormat = kUnwritten;
    bool persisted = false, regionSaved = false;
};

// clang-format off
const OptionsCase kOptionCases[] = {
    {"Format=32 is 32-bit colour", {}, 0, 0, L"Format=32", 1, 5, kAll, {}, 1, 32, true},
    {"a stored 32 loads as 24-bit colour", {{L"Format", 32}}, 0, 0, nullptr, 1, 4, kAll, {}},
    {"8 is grey, saved as 8", {}, 0, 0, L"Format=8", 1, 3, kAll, {}, 1, 8, true},
    {"Defaults ignores the store, region included",
     {{L"Scale", 8}, {L"Format", 8}, {L"ULX", 3}, {L"LRX", 9}, {L"ULY", 1}, {L"LRY", 5}}, 40, 30,
     L"Defaults=1", 1, 4, kAll, {0, 0, 39, 29}, 1, 24, true, true},
    {"the store is loaded without Defaults", {{L"Scale", 8}, {L"Format", 1}}, 0, 0, L"", 8, 1,
     kAll, {}, 8, 1, true},
    {"ForgetOptions", {}, 0, 0, L"ForgetOptions=true;Scale=2", 2, 4, kAll, {}, 2, 24, false},
    {"a string region is neither fitted nor ordered", {}, 10, 10, L"ULX=50;ULY=2;LRX=3;LRY=90", 1,
     4, kAll, {50, 2, 3, 90}, 1, 24, true, true},
    {"one pixel high: not saved", {}, 0, 0, L"ULX=1;ULY=5;LRX=30;LRY=5", 1, 4, kAll, {1, 5, 30, 5},
     1, 24, true},
    {"stored corners at the size are pulled in",
     {{L"ULX", 100}, {L"ULY", 50}, {L"LRX", 100}, {L"LRY", 50}}, 100, 50, nullptr, 1, 4, kAll,
     {99, 49, 99, 49}},
    {"stored zeros: the whole image", {{L"ULX", 0}, {L"LRX", 0}}, 100, 50, nullptr, 1, 4, kAll,
     {0, 0, 99, 49}},
    {"a stored reversed region is ordered",
     {{L"ULX", 80}, {L"ULY", 40}, {L"LRX", 10}, {L"LRY", 5}}, 100, 50, nullptr, 1, 4, kAll,
     {10, 5, 80, 40}},
    {"MaxDim is kept but never saved", {{L"MaxDim", 77}}, 0, 0, L"MaxDim=300", 1, 4, 300, {}, 1,
     24, true},
    {"the last entry counts even when bad; values end at 4294967295 and have no sign",
     {{L"Scale", 8}}, 0, 0, L"Defaults=TRUE;Scale=2;Scale=x;ULX=4294967295;ULY=4294967297;LRX=+3",
     1, 4, kAll, {4294967295u}, 1, 24, true},
};
// clang-format on

class Options : public ::testing::TestWithParam<OptionsCase> {};

TEST_P(Options, FieldsAndWrites) {
    const OptionsCase &c = GetParam();
    RecordingManager host;
    host.stored = c.stored;
    SidImportFilter filter(host);
    filter.SetImageSize(c.imageWidth, c.imageHeight);
    if (c.options)
        filter.SetOptions(c.options);
    else
        filter.LoadOptions(true);
    EXPECT_EQ(filter.GetScale(), c.scale);
    EXPECT_EQ(filter.GetFormat(), c.format);
    EXPECT_EQ(filter.GetMaxDim(), c.maxDim);
    std::array<uint32_t, 4> region;
    filter.GetRegion(region[0], region[1], region[2], region[3]);
    EXPECT_EQ(region, c.region);
    const auto saved = [&](unsigned int value) {
        return value == kUnwritten ? "" : std::to_string(value) + (c.persisted ? " persist" : "");
    };
    EXPECT_EQ(host.LastWrite(L"Scale"), saved(c.savedScale));
    EXPECT_EQ(host.LastWrite(L"Format"), saved(c.savedFormat));
    EXPECT_EQ(host.LastWrite(L"MaxDim"), "");
    // The region's corners are saved without persist.
    const wchar_t *corners[] = {L"ULX", L"ULY", L"LRX", L"LRY"};
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(host.LastWrite(corners[i]), c.regionSaved ? std::to_string(region[i]) : "");
}

INSTANTIATE_TEST_SUITE_P(Cases, Options, ::testing::ValuesIn(kOptionCases),
                         [](const auto &info) { return "case" + std::to_string(info.index); });

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

// clang-format off
const ImportCase kCases[] = {
    {"stored scale above the largest reduction is clamped and saved",
     [](TestImage &im) { im.minMag = 1.0 / 16; }, {{L"Scale", 64}}, kNone, {}, 0,
     {HandOver::Image}, 6, 37, 9, 16, 24},
    {"24-bit import of an image with alpha is promoted to 32 without saving it",
     [](TestImage &im) { im.colorSpace = LTI_COLORSPACE_RGBA, im.bands = 4; }, {}, kNone, {}, 0,
     {HandOver::Image}, 100, 600, 12, 1, 24},
    {"a transform without a system hands over an unreferenced warp first",
     [](TestImage &im) { im.geo = LTIGeoCoord(500000.5, 4200000.5, 1.0, -1.0, 0.0, 0.0); }, {},
     kNone, {}, 0, {HandOver::UnreferencedCRS, HandOver::Image}},
    {"the dialog's scale and region are used and saved", kPlain, {}, Answer::Confirmed,
     {{L"Scale", 2}, {L"LRX", 49}, {L"LRY", 99}}, 0, {HandOver::Image}, 25, 50, 9, 2},
    {"cancelled dialog", kPlain, {}, Answer::Cancelled, {}, kAbort, {}, 0, 0, 0, 0, 0},
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
    RecordingManager host;
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
    EXPECT_EQ(host.kinds, c.handOvers);
    if (!host.handOvers.empty()) {
        const HandOver &img = host.handOvers.back();
        EXPECT_EQ(img.width, c.width);
        EXPECT_EQ(img.height, c.height);
        EXPECT_EQ(img.colorFormat, c.colorFormat);
        EXPECT_EQ(img.rowBytes, shr::RowBytes(shr::ColorFormat(c.colorFormat), c.width));
        EXPECT_EQ(img.rows, c.height);
    }
    EXPECT_EQ(host.receiversDropped, line == 346 ? 1 : 0);
    const auto saved = [](unsigned int value) {
        return value ? std::to_string(value) + " persist" : "";
    };
    EXPECT_EQ(host.LastWrite(L"Scale"), saved(c.savedScale));
    EXPECT_EQ(host.LastWrite(L"Format"), saved(c.savedFormat));
    EXPECT_EQ(host.dialogsShown, c.answer != kNone ? 1 : 0);
    if (line == 0) { // one proportion a row received, after the named start
        EXPECT_EQ(host.progress, (std::vector<std::wstring>{
                                     L"start", L"Importing SID file import%%s%d.bin", L"end"}));
        EXPECT_EQ(host.proportions.size(), c.height + 1);
        EXPECT_EQ(host.proportions.back(), 1.0);
    }
}

INSTANTIATE_TEST_SUITE_P(Cases, Import, ::testing::ValuesIn(kCases),
                         [](const auto &info) { return "case" + std::to_string(info.index); });

#if defined(__GNUC__) && !defined(_MSC_VER)
// Slot of a virtual operation in the Itanium C++ ABI: a member pointer to a virtual function
// holds 1 + its byte offset in the vtable. The destructor takes slots 0 and 1 there.
template <class F> size_t Slot(F member) {
    ptrdiff_t raw = 0;
    std::memcpy(&raw, &member, sizeof raw);
    return static_cast<size_t>(raw - 1) / sizeof(void *) - 1;
}

TEST(FilterInterface, OperationsKeepTheirSlots) {
    using F = SidImportFilter;
    // clang-format off
    const size_t slots[] = {Slot(&F::GetTypeTag), Slot(&F::GetPropertyPages), Slot(&F::SetOptions),
        Slot(&F::GetOptionsInStringForm), Slot(&F::GetOptionStringDelimiter), Slot(&F::CanProduce),
        Slot(&F::CanImportFile), Slot(&F::GetFileInfo), Slot(&F::HasDelayedImport),
        Slot(&F::Import), Slot(&F::ImportFromMemory), Slot(&F::ImportObject)};
    // clang-format on
    for (size_t i = 0; i < std::size(slots); ++i)
        EXPECT_EQ(slots[i], i + 1) << "operation " << i;
}
#endif

// The cached bitmap's rows against the reader at full resolution, read out of order with a
// cache far smaller than the image. Grey goes through the colour transformer.
TEST(CachedSidBitmap, RowsMatchTheReaderWithinABoundedCache) {
    for (const auto &[space, bands, readerFormat, expected] :
         {std::tuple{LTI_COLORSPACE_RGBA, 4, 5, shr::ColorFormatBgra32},
          std::tuple{LTI_COLORSPACE_GRAYSCALE, 1, 4, shr::ColorFormatBgr24}}) {
        sidtest::TestImage image;
        image.width = 1500, image.height = 700, image.colorSpace = space, image.bands = bands;
        sidtest::TestEngineScope engine(image);
        const std::wstring file = sidtest::Wide(sidtest::WriteScratch("bitmap.bin", "TEST"));
        imagelib::CachedSidBitmap bitmap(L"", L"", false);
        ASSERT_TRUE(bitmap.Open(file, 1, false)) << shr::WtoA(bitmap.GetErrorText());
        EXPECT_EQ(bitmap.GetColorFormat(), expected);
        SidInterface reader;
        reader.SetFormat(readerFormat);
        ASSERT_TRUE(reader.Open(file));
        const size_t bytes = shr::RowBytes(expected, 1500);
        std::vector<uint8_t> ours(bytes), theirs(1500 * 4);
        for (uint32_t row : {0u, 1u, 255u, 256u, 511u, 699u, 3u}) {
            ASSERT_TRUE(bitmap.ReadRow(row, ours.data()));
            ASSERT_TRUE(reader.ReadScanline(row, theirs.data()));
            EXPECT_EQ(0, std::memcmp(ours.data(), theirs.data(), bytes)) << row;
            EXPECT_LE(bitmap.GetCachedBlockCount(), 6u); // 1 MiB of 256 × 256 blocks
        }
        EXPECT_FALSE(bitmap.ReadRow(700, ours.data()));
    }
}

} // namespace
