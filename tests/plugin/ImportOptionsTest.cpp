// The import options through a recording host's store: string and store asymmetries, region
// fitting, Defaults and ForgetOptions, what is saved and with which persist flag.
#include "RecordingManager.h"
#include "SidImportFilter.h"
#include "shr/Strings.h"

#include <gtest/gtest.h>

namespace {

constexpr unsigned int kAll = 4294967295u;
constexpr unsigned int kNone = 0xDEADu; // "not written"

struct OptionsCase {
    const char *name;
    std::map<std::wstring, unsigned int> stored;
    uint32_t imageWidth, imageHeight; // 0: unknown
    const wchar_t *options;           // null: LoadOptions(true) alone
    // Expected fields.
    uint32_t scale;
    int32_t format;
    uint32_t maxDim, region[4];
    // Expected writes: Scale and Format values (kNone: not written) and their persist flag,
    // and whether the region was written (always without persist).
    unsigned int savedScale, savedFormat;
    bool persisted, regionSaved;
};

// One case a row.
// clang-format off
const OptionsCase kCases[] = {
    {"Format=32 in a string is 32-bit colour", {}, 0, 0, L"Format=32", 1, 5, kAll, {0, 0, 0, 0},
     1, 32, true, false},
    {"a stored 32 loads as 24-bit colour", {{L"Format", 32}}, 0, 0, nullptr, 1, 4, kAll,
     {0, 0, 0, 0}, kNone, kNone, false, false},
    {"8 is 256-level grey, and is saved as 8", {}, 0, 0, L"Format=8", 1, 3, kAll, {0, 0, 0, 0}, 1,
     8, true, false},
    {"Format=2 falls back to 24-bit colour", {}, 0, 0, L"Format=2", 1, 4, kAll, {0, 0, 0, 0}, 1,
     24, true, false},
    {"Format=4 in a string is 16-level grey", {}, 0, 0, L"Format=4", 1, 2, kAll, {0, 0, 0, 0}, 1,
     4, true, false},
    {"Defaults ignores the store, region included",
     {{L"Scale", 8}, {L"Format", 8}, {L"ULX", 3}, {L"LRX", 9}, {L"ULY", 1}, {L"LRY", 5}}, 40, 30,
     L"Defaults=1", 1, 4, kAll, {0, 0, 39, 29}, 1, 24, true, true},
    {"the store is loaded without Defaults", {{L"Scale", 8}, {L"Format", 1}}, 0, 0, L"", 8, 1,
     kAll, {0, 0, 0, 0}, 8, 1, true, false},
    {"ForgetOptions saves for this run only", {}, 0, 0, L"ForgetOptions=true;Scale=2", 2, 4, kAll,
     {0, 0, 0, 0}, 2, 24, false, false},
    {"a region is always saved without persist", {}, 0, 0, L"ULX=1;ULY=2;LRX=30;LRY=40", 1, 4,
     kAll, {1, 2, 30, 40}, 1, 24, true, true},
    {"a string region is neither fitted nor ordered", {}, 10, 10, L"ULX=50;ULY=2;LRX=3;LRY=90", 1,
     4, kAll, {50, 2, 3, 90}, 1, 24, true, true},
    {"a region one pixel high is not saved", {}, 0, 0, L"ULX=1;ULY=5;LRX=30;LRY=5", 1, 4, kAll,
     {1, 5, 30, 5}, 1, 24, true, false},
    {"nor one pixel wide", {}, 0, 0, L"ULX=7;ULY=1;LRX=7;LRY=9", 1, 4, kAll, {7, 1, 7, 9}, 1, 24,
     true, false},
    {"a stored lower-right corner at the size is pulled in", {{L"LRX", 100}, {L"LRY", 50}}, 100,
     50, nullptr, 1, 4, kAll, {0, 0, 99, 49}, kNone, kNone, false, false},
    {"so is an upper-left corner", {{L"ULX", 100}, {L"ULY", 50}, {L"LRX", 4}}, 100, 50, nullptr,
     1, 4, kAll, {4, 0, 99, 49}, kNone, kNone, false, false},
    {"a stored region of zeros is the whole image", {{L"ULX", 0}, {L"LRX", 0}}, 100, 50, nullptr,
     1, 4, kAll, {0, 0, 99, 49}, kNone, kNone, false, false},
    {"a stored reversed region is ordered",
     {{L"ULX", 80}, {L"ULY", 40}, {L"LRX", 10}, {L"LRY", 5}}, 100, 50, nullptr, 1, 4, kAll,
     {10, 5, 80, 40}, kNone, kNone, false, false},
    {"with the size unknown corners are only ordered",
     {{L"ULX", 8000}, {L"ULY", 4}, {L"LRX", 10}, {L"LRY", 9000}}, 0, 0, nullptr, 1, 4, kAll,
     {10, 4, 8000, 9000}, kNone, kNone, false, false},
    {"MaxDim is kept but never saved", {{L"MaxDim", 77}}, 0, 0, L"MaxDim=300", 1, 4, 300,
     {0, 0, 0, 0}, 1, 24, true, false},
    {"a stored MaxDim loads", {{L"MaxDim", 77}}, 0, 0, nullptr, 1, 4, 77, {0, 0, 0, 0}, kNone,
     kNone, false, false},
    {"unknown names and bad values are ignored", {{L"Scale", 4}}, 0, 0,
     L"Bogus=3;Scale=abc;Format=;scale = 16 ;Defaults=maybe", 16, 4, kAll, {0, 0, 0, 0}, 16, 24,
     true, false},
    {"names match whole; empty entries and entries without a value are skipped",
     {{L"Scale", 4}}, 0, 0, L"XScale=3;;Scale;ForgetOptions=YES;;MaxDim= 7 ", 4, 4, 7,
     {0, 0, 0, 0}, 4, 24, false, false},
    {"the last entry counts even when bad; values end at 4294967295 and have no sign",
     {{L"Scale", 8}}, 0, 0, L"Defaults=TRUE;Scale=2;Scale=x;ULX=4294967295;ULY=4294967297;LRX=+3",
     1, 4, kAll, {4294967295u, 0, 0, 0}, 1, 24, true, false},
    {"scale is not range-checked here", {}, 0, 0, L"Scale=0", 0, 4, kAll, {0, 0, 0, 0}, 0, 24,
     true, false},
};
// clang-format on

class Options : public ::testing::TestWithParam<OptionsCase> {};

TEST_P(Options, FieldsAndWrites) {
    const OptionsCase &c = GetParam();
    plugintest::RecordingManager host;
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
    uint32_t region[4];
    filter.GetRegion(region[0], region[1], region[2], region[3]);
    EXPECT_EQ(std::vector<uint32_t>(region, region + 4),
              std::vector<uint32_t>(c.region, c.region + 4));
    for (auto [name, expected] : {std::pair{L"Scale", c.savedScale}, {L"Format", c.savedFormat}}) {
        unsigned int value = kNone;
        bool persist = c.persisted; // left alone when nothing was written
        EXPECT_EQ(host.LastWrite(name, value, persist) ? value : kNone, expected)
            << shr::WtoA(name);
        EXPECT_EQ(persist, c.persisted) << shr::WtoA(name);
    }
    unsigned int value = 0;
    bool persist = false;
    EXPECT_FALSE(host.LastWrite(L"MaxDim", value, persist));
    for (const wchar_t *corner : {L"ULX", L"ULY", L"LRX", L"LRY"}) {
        EXPECT_EQ(host.LastWrite(corner, value, persist), c.regionSaved) << shr::WtoA(corner);
        EXPECT_FALSE(persist);
    }
}

INSTANTIATE_TEST_SUITE_P(Cases, Options, ::testing::ValuesIn(kCases),
                         [](const auto &info) { return "case" + std::to_string(info.index); });

} // namespace
