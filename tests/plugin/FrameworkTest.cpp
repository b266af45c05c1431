// The host framework as filters use it: option strings, error formatting, the row hand-over
// rules of TrImage, the order of the filter's virtual operations, and the cached bitmap.
#include "RecordingManager.h"
#include "SidImportFilter.h"
#include "shr/Strings.h"

#include "../sid/TestEngine.h"
#include "../sid/TestFiles.h"

#include "imagelib/CachedSidBitmap.h"
#include "plio/Exception.h"
#include "plio/OptionString.h"
#include "plio/Progress.h"
#include "plio/TrImage.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>

using sidtest::TestImage;

namespace {

TEST(OptionString, LookUps) {
    struct Case {
        const wchar_t *text, *name;
        bool found;
        unsigned int value;
    };
    const Case cases[] = {
        {L"Scale=4;Format=24;ULX=0", L"Format", true, 24},
        {L"Scale=4;Format=24;ULX=0", L"ULX", true, 0},
        {L" scale = 8 ", L"Scale", true, 8},
        {L"Scale=2;Scale=16", L"Scale", true, 16},
        {L"Scale=2;Scale=x", L"Scale", false, 0},
        {L"Scale", L"Scale", false, 0},
        {L"XScale=3", L"Scale", false, 0},
        {L"Scale=4294967295", L"Scale", true, 4294967295u},
        {L"Scale=4294967296", L"Scale", false, 0},
        {L"Scale=+3", L"Scale", false, 0},
        {L";;Scale=5;;", L"Scale", true, 5},
        {L"", L"Scale", false, 0},
    };
    plugintest::RecordingManager host;
    for (const Case &c : cases) {
        unsigned int value = 12345;
        EXPECT_EQ(host.GetStringOption(c.text, c.name, value), c.found) << shr::WtoA(c.text);
        EXPECT_EQ(value, c.found ? c.value : 12345u) << shr::WtoA(c.text);
    }
    const std::pair<const wchar_t *, int> flags[] = {
        {L"Defaults=1", 1},  {L"Defaults=TRUE", 1}, {L"Defaults=no", 0}, {L"Defaults=off", 0},
        {L"Defaults=2", -1}, {L"Defaults=", -1},    {L"Other=1", -1}};
    for (const auto &[text, expected] : flags) {
        bool value = false;
        const bool found = host.GetStringOption(text, L"Defaults", value);
        EXPECT_EQ(found ? int(value) : -1, expected) << shr::WtoA(text);
    }
}

TEST(FilterErrors, CarryMessageSourceAndLine) {
    plugintest::RecordingManager host;
    SidImportFilter filter(host);
    const std::pair<const wchar_t *, const wchar_t *> literal[] = {
        {L"file 'a%sb%d'", L"file 'a%sb%d'"}, {L"100%% done", L"100% done"}, {L"", L""}};
    for (const auto &[format, message] : literal) {
        try {
            filter.ThrowError(L"src/File", 42, format);
            FAIL();
        } catch (const plio::Exception &e) {
            EXPECT_EQ(e.GetMessage(), message);
            EXPECT_EQ(e.GetSourceFile(), L"src/File");
            EXPECT_EQ(e.GetLine(), 42);
        }
    }
    try {
        filter.ThrowError(L"src/File", 7, L"%ls has %d rows", L"image", 3);
    } catch (const plio::Exception &e) {
        EXPECT_STREQ(e.what(), "image has 3 rows");
    }
    EXPECT_THROW(filter.Throw_ABORT(L"src/File", 1), plio::AbortException);
    try {
        filter.Throw_ERR_UNKNOWN_FORMAT(L"src/File", 2, L"x.sid");
    } catch (const plio::UnknownFormatException &e) {
        EXPECT_EQ(e.GetPath(), L"x.sid");
        EXPECT_FALSE(dynamic_cast<const plio::AbortException *>(&e));
    }
}

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
    const std::pair<size_t, size_t> slots[] = {{Slot(&F::GetTypeTag), 1},
                                               {Slot(&F::GetPropertyPages), 2},
                                               {Slot(&F::SetOptions), 3},
                                               {Slot(&F::GetOptionsInStringForm), 4},
                                               {Slot(&F::GetOptionStringDelimiter), 5},
                                               {Slot(&F::CanProduce), 6},
                                               {Slot(&F::CanImportFile), 7},
                                               {Slot(&F::GetFileInfo), 8},
                                               {Slot(&F::HasDelayedImport), 9},
                                               {Slot(&F::Import), 10},
                                               {Slot(&F::ImportFromMemory), 11},
                                               {Slot(&F::ImportObject), 12}};
    for (size_t i = 0; i < std::size(slots); ++i)
        EXPECT_EQ(slots[i].first, slots[i].second) << "operation " << i;
}
#endif

// The cached bitmap's rows against the reader at full resolution, with a cache far smaller than
// the image.
TEST(CachedSidBitmap, RowsMatchTheReaderWithinABoundedCache) {
    struct Case {
        LizardTech::LTIColorSpace space;
        uint16_t bands;
        int32_t readerFormat;
        shr::ColorFormat expected;
    };
    for (const Case &c :
         {Case{LizardTech::LTI_COLORSPACE_RGB, 3, 4, shr::ColorFormatBgr24},
          Case{LizardTech::LTI_COLORSPACE_RGBA, 4, 5, shr::ColorFormatBgra32},
          Case{LizardTech::LTI_COLORSPACE_GRAYSCALE, 1, 4, shr::ColorFormatBgr24}}) {
        TestImage image;
        image.width = 1500;
        image.height = 700;
        image.colorSpace = c.space;
        image.bands = c.bands;
        sidtest::TestEngineScope engine(image);
        const std::wstring file = sidtest::Wide(sidtest::WriteScratch("bitmap.bin", "TEST"));
        imagelib::CachedSidBitmap bitmap(L"", L"", false);
        ASSERT_TRUE(bitmap.Open(file, 1, false)) << shr::WtoA(bitmap.GetErrorText());
        EXPECT_EQ(bitmap.GetColorFormat(), c.expected);
        EXPECT_EQ(bitmap.GetName(), L"bitmap.bin");
        SidInterface reader;
        reader.SetFormat(c.readerFormat);
        ASSERT_TRUE(reader.Open(file));
        const size_t bytes = shr::RowBytes(c.expected, 1500);
        std::vector<uint8_t> ours(bytes), theirs(1500 * 4);
        for (uint32_t row : {0u, 1u, 255u, 256u, 511u, 699u, 3u}) {
            ASSERT_TRUE(bitmap.ReadRow(row, ours.data()));
            ASSERT_TRUE(reader.ReadScanline(row, theirs.data()));
            EXPECT_EQ(0, std::memcmp(ours.data(), theirs.data(), bytes)) << row;
            EXPECT_LE(bitmap.GetCachedBlockCount(), 6u); // 1 MiB of 256 × 256 blocks
        }
        EXPECT_FALSE(bitmap.ReadRow(700, ours.data()));
    }
    imagelib::CachedSidBitmap missing(L"", L"", false);
    EXPECT_FALSE(missing.Open(L"/nonexistent/file.sid", 0, false));
    EXPECT_NE(std::wstring(missing.GetErrorText()).find(L"/nonexistent/file.sid"),
              std::wstring::npos);
}

} // namespace
