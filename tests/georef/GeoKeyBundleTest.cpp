// GeoKeyBundle stores and the decoding of a bundle into GeoTiffParams.
#include "georef/GeoKeyBundle.h"
#include "georef/GeoTiffParams.h"
#include "georef/GeoTiffTrace.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <cstring>
#include <string>
#include <vector>

using namespace georef;

namespace {

std::vector<uint32_t> Ids(const GeoKeyBundle &bundle) {
    std::vector<uint32_t> ids;
    for (uint32_t i = 0; i < bundle.GetEntryCount(); ++i)
        ids.push_back(bundle.GetKeyId(i));
    return ids;
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
    ASSERT_EQ(batch.GetEntryCount(), one.GetEntryCount());
    for (uint32_t i = 0; i < one.GetEntryCount(); ++i) {
        uint16_t a[4], b[4];
        one.GetEntry(i, a);
        batch.GetEntry(i, b);
        EXPECT_EQ(std::vector<uint16_t>(a, a + 4), std::vector<uint16_t>(b, b + 4)) << i;
    }
    EXPECT_EQ(batch.TextStore(), one.TextStore());
    EXPECT_EQ(batch.Doubles(), one.Doubles());
}

TEST(GeoKeyBundle, TextSeparatorNeedsMoreThanOneCharacter) {
    GeoKeyBundle two;
    uint32_t a = two.AddText(1026, "A|");
    uint32_t b = two.AddText(2049, "B");
    EXPECT_EQ(two.TextStore(), "A||B");
    uint16_t words[4];
    two.GetEntry(a, words);
    EXPECT_EQ(words[3], 0);
    EXPECT_EQ(words[1], tiff::kTagGeoAsciiParams);
    two.GetEntry(b, words);
    EXPECT_EQ(words[3], 3);
    EXPECT_EQ(words[2], 1);

    GeoKeyBundle single;
    a = single.AddText(1026, "A");
    b = single.AddText(2049, "B");
    EXPECT_EQ(single.TextStore(), "AB");
    single.GetEntry(b, words);
    EXPECT_EQ(words[3], 1);
    EXPECT_EQ(single.GetTextString(a), "A");
    EXPECT_EQ(single.GetTextString(b), "B");
    EXPECT_EQ(std::string(single.GetText(a)), "AB"); // the store is not split at entries
}

// Out of range, the accessors answer the "absent" values; of the wrong kind, the defaults.
TEST(GeoKeyBundle, AccessorsOfTheWrongKindOrIndex) {
    GeoKeyBundle bundle;
    const double values[3] = {1.5, 2.5, 3.5};
    bundle.AddShort(1024, 1);
    bundle.AddDoubles(2062, 3, values);
    bundle.AddText(1026, "x|"); // sorts before 2062 and moves it
    const uint32_t s = bundle.FindKey(1024), d = bundle.FindKey(2062);
    EXPECT_EQ(bundle.GetKind(99), kGeoKeyNone);
    EXPECT_EQ(bundle.GetKeyId(99), 0u);
    EXPECT_EQ(bundle.GetCount(99), 0u);
    EXPECT_EQ(bundle.GetDouble(99, 0), DBL_MAX);
    EXPECT_EQ(bundle.GetShort(99), 65535);
    EXPECT_EQ(bundle.GetDouble(d, 2), 3.5);
    EXPECT_EQ(bundle.GetDouble(d, 3), 0.0);
    EXPECT_EQ(bundle.GetDouble(d, -1), 0.0);
    EXPECT_EQ(bundle.GetText(s), nullptr);
    EXPECT_EQ(bundle.GetText(d), nullptr);
    bundle.Clear();
    EXPECT_EQ(bundle.GetEntryCount(), 0u);
    EXPECT_TRUE(bundle.Doubles().empty());
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

TEST(GeoTiffBundleToParams, LaterDuplicateWinsAndToWGS84NeedsDoubles) {
    GeoKeyBundle bundle;
    const double seven[7] = {1, 2, 3, 4, 5, 6, 7};
    bundle.AddDoubles(2062, 7, seven);
    bundle.AddShort(2062, 3); // not a double entry: leaves the array as it is
    bundle.AddShort(3076, 9001);
    bundle.AddShort(3076, 9002);
    bundle.AddShort(2049, 5); // a citation that is not text reads as empty
    GeoTiffParams params;
    GeoTiffBundleToParams(bundle, params);
    EXPECT_EQ(params.GeogToWGS84, (std::vector<double>{1, 2, 3, 4, 5, 6, 7}));
    EXPECT_EQ(params.ProjLinearUnits, 9002);
    EXPECT_EQ(params.GeogCitation, "");
}

} // namespace
