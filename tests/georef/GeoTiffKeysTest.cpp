// GeoKey bundles, their decoding into GeoTiffParams, and GeoTiffExtractKeys on built files:
// directory checks, references, bounds and failures.
#include "georef/GeoTiffKeys.h"
#include "GeoTiffTestFiles.h"
#include "georef/GeoKeyBundle.h"
#include "georef/GeoTiffParams.h"
#include "georef/GeoTiffStatus.h"
#include "georef/GeoTiffTrace.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace georef;
using georeftest::GeoTiffBuilder;
using testsupport::GeoKey;

namespace {

std::vector<uint32_t> Ids(const GeoKeyBundle &bundle) {
    std::vector<uint32_t> ids;
    for (uint32_t i = 0; i < bundle.GetEntryCount(); ++i)
        ids.push_back(bundle.GetKeyId(i));
    return ids;
}

// The entries after the header.
std::vector<std::vector<uint16_t>> Entries(const GeoKeyBundle &bundle) {
    std::vector<std::vector<uint16_t>> entries;
    for (uint32_t i = 1; i < bundle.GetEntryCount(); ++i) {
        uint16_t w[4];
        bundle.GetEntry(i, w);
        entries.push_back({w[0], w[1], w[2], w[3]});
    }
    return entries;
}

// Sorted by id, equal ids in the order added, nothing before the header; a batch sorts once
// at its end to the same result.
TEST(GeoKeyBundle, SortedAsAddedOneByOneOrInABatch) {
    GeoKeyBundle one, batch;
    batch.BeginBatch();
    for (GeoKeyBundle *b : {&one, &batch}) {
        b->AddShort(3076, 9001);
        b->AddText(3073, "B|");
        b->AddShort(0, 5);
        b->AddDouble(2057, 6378137.0);
        b->AddShort(1024, 1);
        b->AddShort(3076, 9002);
        b->AddText(1026, "A|");
        b->AddDouble(2057, 1.0);
    }
    batch.EndBatch();
    EXPECT_EQ(Ids(one), (std::vector<uint32_t>{1, 0, 1024, 1026, 2057, 2057, 3073, 3076, 3076}));
    EXPECT_EQ(one.GetShort(one.FindKey(3076)), 9001);
    EXPECT_EQ(one.GetShort(one.FindKey(3076) + 1), 9002);
    EXPECT_EQ(one.FindKey(2048), GeoKeyBundle::kNotFound);
    EXPECT_EQ(Entries(batch), Entries(one));
    EXPECT_EQ(batch.TextStore(), one.TextStore());
    EXPECT_EQ(batch.Doubles(), one.Doubles());
}

TEST(GeoKeyBundle, StoresStopAtSixteenBitOffsets) {
    GeoKeyBundle bundle;
    std::vector<double> many(0xFFFF, 1.0);
    EXPECT_NE(bundle.AddDoubles(3082, 0xFFFF, many.data()), GeoKeyBundle::kNotFound);
    EXPECT_NE(bundle.AddDouble(3083, 2.0), GeoKeyBundle::kNotFound); // offset 65535 still fits
    EXPECT_EQ(bundle.AddDouble(3084, 3.0), GeoKeyBundle::kNotFound);
    EXPECT_EQ(bundle.GetDouble(bundle.FindKey(3083)), 2.0);
    EXPECT_EQ(bundle.GetEntryCount(), 3u);
}

TEST(GeoTiffBundleToParams, FieldsByKind) {
    GeoKeyBundle bundle;
    bundle.AddShort(1024, 1);
    bundle.AddShort(3072, 32767);
    bundle.AddDouble(3082, 1640419.9475065616);
    bundle.AddDouble(1025, 7.0); // a short field held as a double reads 65535
    bundle.AddShort(3078, 45);   // a double field held in place reads 0.0
    bundle.AddShort(2052, 9001); // GeogLinearUnits is decoded as a double
    bundle.AddText(3073, "UTM|");
    bundle.AddShort(4096, 5703); // vertical keys are not decoded
    std::vector<std::string> trace;
    SetGeoTiffTraceSink([&](const std::string &line) { trace.push_back(line); });
    GeoTiffParams params;
    params.GeogToWGS84 = {9.0};
    EXPECT_TRUE(GeoTiffBundleToParams(bundle, params));
    SetGeoTiffTraceSink({});
    EXPECT_EQ(params.GTModelType, 1);
    EXPECT_EQ(params.ProjectedCSType, 32767);
    EXPECT_EQ(params.ProjFalseEasting, 1640419.9475065616);
    EXPECT_EQ(params.GTRasterType, 65535);
    EXPECT_EQ(params.ProjStdParallel, 0.0);
    EXPECT_EQ(params.GeogLinearUnits, 0.0);
    EXPECT_EQ(params.PCSCitation, "UTM|");
    EXPECT_TRUE(params.GeogToWGS84.empty()); // the record is reset first
    EXPECT_EQ(trace, (std::vector<std::string>{"Ignoring unsupported GeoKey 1\n",
                                               "Ignoring unsupported GeoKey 4096\n"}));
}

struct Extracted {
    bool ok = false;
    GeoKeyBundle bundle;
    shr::ErrorRecord error;
};

// The bundle starts with one marker key so that "left untouched" can be seen.
Extracted Extract(const GeoTiffBuilder &builder, int image = 1) {
    Extracted result;
    result.bundle.AddShort(4096, 1234);
    tiff::TiffImageRead file;
    EXPECT_TRUE(georeftest::OpenBuilt(file, builder));
    result.ok = GeoTiffExtractKeys(file, image, result.bundle, &result.error);
    return result;
}

const std::vector<std::vector<uint16_t>> kMarkerOnly = {{4096, 0, 1, 1234}};

TEST(GeoTiffExtractKeys, UnusableDirectoryLeavesTheBundleAHeaderClearsIt) {
    const struct {
        const char *what;
        std::vector<uint64_t> words; // none: no key directory
        uint16_t type;
        std::vector<std::vector<uint16_t>> entries;
    } cases[] = {
        {"absent", {}, 3, kMarkerOnly},
        {"LONG instead of SHORT", {1, 1, 0, 1, 1024, 0, 1, 1}, 4, kMarkerOnly},
        {"header only", {1, 1, 0, 0}, 3, {}},
    };
    for (const auto &c : cases) {
        GeoTiffBuilder builder;
        if (!c.words.empty())
            builder.Shorts(34735, c.words, c.type);
        const Extracted r = Extract(builder);
        EXPECT_TRUE(r.ok) << c.what;
        EXPECT_EQ(Entries(r.bundle), c.entries) << c.what;
        if (c.entries.empty()) {
            EXPECT_EQ(r.bundle.GetEntryCount(), 0u) << c.what; // the header goes too
        }
    }
}

TEST(GeoTiffExtractKeys, ReferencesAtAndPastTheEndOfTheirTag) {
    struct Case {
        const char *what;
        GeoKey key;
        bool ok;
    } cases[] = {
        {"text ending at the tag's end", {1026, 34737, 3, 2}, true}, // "CD|"
        {"text one past", {1026, 34737, 4, 2}, false},
        {"doubles ending at the tag's end", {3082, 34736, 2, 1}, true},
        {"doubles one past", {3082, 34736, 3, 1}, false},
    };
    for (const Case &c : cases) {
        GeoTiffBuilder builder;
        builder.Keys({{1024, 0, 1, 1}, c.key, {3076, 0, 1, 9001}});
        builder.Doubles(34736, {1.0, 2.0, 3.0});
        builder.Text(34737, "ABCD|", 2, false);
        const Extracted r = Extract(builder);
        EXPECT_EQ(r.ok, c.ok) << c.what;
        if (c.ok) {
            EXPECT_EQ(r.bundle.GetEntryCount(), 4u) << c.what;
        } else {
            // The keys before the failing one stay; the ones after it are never read.
            EXPECT_EQ(Entries(r.bundle), (std::vector<std::vector<uint16_t>>{{1024, 0, 1, 1}}))
                << c.what;
            EXPECT_EQ(r.error.code, kGeoTiffKeyPastTag) << c.what;
            EXPECT_EQ(r.error.file, L"georef/GeoTiffKeys") << c.what;
        }
    }
}

TEST(GeoTiffExtractKeys, ImagesAndByteOrders) {
    for (bool bigEndian : {false, true}) {
        GeoTiffBuilder builder(bigEndian);
        builder.Keys({{1024, 0, 1, 1}});
        builder.AddImage();
        builder.Keys({{1024, 0, 1, 2}, {3082, 34736, 1, 0}, {3073, 34737, 4, 0}});
        builder.Doubles(34736, {-1234.5});
        builder.Text(34737, "PCS|");
        Extracted second = Extract(builder, 2);
        ASSERT_TRUE(second.ok);
        EXPECT_EQ(second.bundle.GetShort(second.bundle.FindKey(1024)), 2);
        EXPECT_EQ(second.bundle.GetDouble(second.bundle.FindKey(3082)), -1234.5);
        EXPECT_EQ(second.bundle.GetTextString(second.bundle.FindKey(3073)), "PCS|");
        EXPECT_EQ(Extract(builder, 1).bundle.GetShort(1), 1);
    }
}

TEST(GeoTiffExtractKeys, ManyKeysInReverseOrderStayBounded) {
    // The most keys a directory can describe, each needing the sorted insert at the front.
    std::vector<uint64_t> words = {1, 1, 0, 0xFFFF};
    for (uint32_t k = 0; k < 0xFFFF; ++k)
        words.insert(words.end(), {0xFFFF - k, 0, 1, 0});
    GeoTiffBuilder builder;
    builder.Shorts(34735, words);
    Extracted r = Extract(builder);
    EXPECT_TRUE(r.ok);
    EXPECT_EQ(r.bundle.GetEntryCount(), 0x10000u);
    EXPECT_EQ(r.bundle.GetKeyId(1), 1u);

    words.insert(words.end(), {1024, 0, 1, 1}); // one more than a 16-bit key count
    builder.Shorts(34735, words);
    r = Extract(builder);
    EXPECT_FALSE(r.ok);
    EXPECT_EQ(r.error.code, kGeoTiffTooManyKeys);
}

} // namespace
