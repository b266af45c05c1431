// GeoKey bundles and their decoding; GeoTiffExtractKeys on built files (directory checks,
// references, bounds, failures); the code-table lookups; coordinate system extraction: the
// projected part, the datum chain, ESRI strings and the assembly onto a GCSDef; warps from tie
// points, pixel scale and matrices.
#include "georef/GeoTiffExtract.h"
#include "Subsystems/TiffImage/TiffImageRead.h"
#include "Subsystems/TiffImage/TiffSource.h"
#include "georef/GeoKeyBundle.h"
#include "georef/GeoTiffCodes.h"
#include "georef/GeoTiffKeys.h"
#include "georef/GeoTiffPCS.h"
#include "georef/GeoTiffParams.h"
#include "georef/GeoTiffStatus.h"
#include "georef/GeoTiffTrace.h"
#include "georef/GeoTiffWarp.h"
#include "support/GeoTiffTags.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

using namespace gcs;
using namespace georef;
using testsupport::GeoKey;
using GeoTiffBuilder = testsupport::GeoTiffTags;
using Id = ProjectionParameterID;
using P = georef::GeoTiffParams;

namespace {

bool Open(tiff::TiffImageRead &file, const GeoTiffBuilder &builder) {
    return file.OpenSource(tiff::MakeMemorySource(builder.Build()), L"built.tif");
}

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
    EXPECT_EQ(one.Doubles(), (std::vector<double>{6378137.0, 1.0}));
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
Extracted ExtractKeys(const GeoTiffBuilder &builder, int image = 1) {
    Extracted result;
    result.bundle.AddShort(4096, 1234);
    tiff::TiffImageRead file;
    EXPECT_TRUE(Open(file, builder));
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
        const Extracted r = ExtractKeys(builder);
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
        const Extracted r = ExtractKeys(builder);
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
        Extracted second = ExtractKeys(builder, 2);
        ASSERT_TRUE(second.ok);
        EXPECT_EQ(second.bundle.GetShort(second.bundle.FindKey(1024)), 2);
        EXPECT_EQ(second.bundle.GetDouble(second.bundle.FindKey(3082)), -1234.5);
        EXPECT_EQ(second.bundle.GetTextString(second.bundle.FindKey(3073)), "PCS|");
        EXPECT_EQ(ExtractKeys(builder, 1).bundle.GetShort(1), 1);
    }
}

TEST(GeoTiffExtractKeys, ManyKeysInReverseOrderStayBounded) {
    // The most keys a directory can describe, each needing the sorted insert at the front.
    std::vector<uint64_t> words = {1, 1, 0, 0xFFFF};
    for (uint32_t k = 0; k < 0xFFFF; ++k)
        words.insert(words.end(), {0xFFFF - k, 0, 1, 0});
    GeoTiffBuilder builder;
    builder.Shorts(34735, words);
    Extracted r = ExtractKeys(builder);
    EXPECT_TRUE(r.ok);
    EXPECT_EQ(r.bundle.GetEntryCount(), 0x10000u);
    EXPECT_EQ(r.bundle.GetKeyId(1), 1u);

    words.insert(words.end(), {1024, 0, 1, 1}); // one more than a 16-bit key count
    builder.Shorts(34735, words);
    r = ExtractKeys(builder);
    EXPECT_FALSE(r.ok);
    EXPECT_EQ(r.error.code, kGeoTiffTooManyKeys);
}

// 0 ends the table; 65537 and -65535 must not match 1 through a 16-bit cut.
TEST(GeoTIFFCodeToProjType, CodesWithoutARow) {
    for (int32_t code : {0, 27, 32, 65537, -65535}) {
        ProjectionMethod found = ProjectionMethod::Mercator;
        EXPECT_FALSE(GeoTIFFCodeToProjType(code, &found)) << code;
        EXPECT_EQ(found, ProjectionMethod::Mercator) << code;
    }
}

TEST(LinearScaleFromPOSCNumber, TableBeforeTheLibrary) {
    // The module's own table is searched first; these rows differ from the EPSG list or end it.
    const std::pair<int32_t, double> rows[] = {
        {9003, 3.2808333333464565}, // the library's list has 3.2808333333333328
        {9005, 3.2808451241291379}, // the library's Clarke's foot differs
        {9006, 3.2808451241291379}, // the Indian foot carries Clarke's value
        {9015, 0.00053995680345572358},
    };
    for (auto [code, value] : rows)
        EXPECT_EQ(LinearScaleFromPOSCNumber(code), value) << code;
    EXPECT_EQ(LinearScaleFromPOSCNumber(9036), 0.001); // kilometre, from the library
    for (int32_t code : {0, 9016})
        EXPECT_EQ(LinearScaleFromPOSCNumber(code), 0.0) << code;
}

constexpr uint16_t kUser = 32767;

GeoTiffPieces Decide(GeoTiffParams params) {
    GeoTiffPieces pieces;
    EXPECT_TRUE(GeoTiffDecide(params, nullptr, 1, pieces));
    return pieces;
}

GeoTiffParams Projected(uint16_t coordTrans) {
    GeoTiffParams p;
    p.GTModelType = 1;
    p.ProjectedCSType = kUser;
    p.ProjCoordTrans = coordTrans;
    return p;
}

const ProjectionParameters &Params(const GeoTiffPieces &pieces) {
    return pieces.projection.GetParameters();
}

TEST(GeoTiffExtractPCS, LinearAndAngularUnits) {
    GeoTiffParams radians = Projected(1);
    radians.GeogAngularUnits = 9101;
    radians.ProjOriginLong = 0.1;
    EXPECT_EQ(Params(Decide(radians)).lon0, 5.729577951308233);

    const std::pair<uint16_t, double> factors[] = {
        {9101, 57.29577951308232}, {9103, 1.0 / 60}, {9104, 1.0 / 3600}, {9105, 1.0}, {0, 1.0}};
    for (auto [units, factor] : factors) {
        GeoTiffParams p;
        p.GeogAngularUnits = units;
        EXPECT_DOUBLE_EQ(GeoTiffAngularFactor(p), factor) << units;
    }
    const struct {
        uint16_t units;
        double size, expected;
    } linear[] = {{0, 0.0, 1.0},     {9001, 0.0, 1.0},  {12345, 0.0, 1.0},
                  {kUser, 0.5, 2.0}, {0, 0.25, 4.0},    {9002, 0.5, 3.280839895013123},
                  {kUser, 0.0, 1.0}, {9036, 0.0, 0.001}};
    for (const auto &c : linear) {
        GeoTiffParams p;
        p.ProjLinearUnits = c.units;
        p.ProjLinearUnitSize = c.size;
        EXPECT_EQ(GeoTiffLinearUnitsPerMeter(p), c.expected) << c.units << " " << c.size;
    }
}

const char *const kEsriUtm10 =
    "ESRI PE String = PROJCS[\"NAD_1983_UTM_Zone_10N\",GEOGCS[\"GCS_North_American_1983\","
    "DATUM[\"D_North_American_1983\",SPHEROID[\"GRS_1980\",6378137.0,298.257222101]],"
    "PRIMEM[\"Greenwich\",0.0],UNIT[\"Degree\",0.0174532925199433]],"
    "PROJECTION[\"Transverse_Mercator\"],PARAMETER[\"False_Easting\",500000.0],"
    "PARAMETER[\"False_Northing\",0.0],PARAMETER[\"Central_Meridian\",-123.0],"
    "PARAMETER[\"Scale_Factor\",0.9996],PARAMETER[\"Latitude_Of_Origin\",0.0],"
    "UNIT[\"Meter\",1.0]]|";

// The method and parameters the keys give; the datum and ellipsoid codes where not 0.
TEST(GeoTiffExtractPCS, MethodFormsFromKeys) {
    using PM = ProjectionMethod;
    const struct {
        const char *what;
        void (*keys)(P &);
        PM method;
        std::vector<std::pair<Id, double>> expected;
        int32_t datum = 0, ellipsoid = 0;
    } cases[] = {
        // clang-format off
        {"UTM north", [](P &p) { p.Projection = 16032; }, PM::UTM, {{Id::Lon0, 9}, {Id::South, 0}}},
        {"UTM south", [](P &p) { p.Projection = 16132; }, PM::UTM, {{Id::Lon0, 9}, {Id::South, 1}}},
        {"16100 gives 177", [](P &p) { p.Projection = 16100; }, PM::UTM, {{Id::Lon0, 177}}},
        {"zone 1: the keys' longitude", [](P &p) { p.Projection = 16001, p.ProjOriginLong = -100; },
         PM::UTM, {{Id::Lon0, -100}}},
        {"16061 is no UTM code", [](P &p) { p.Projection = 16061; },
         PM::TransverseMercator, {{Id::South, 0}}},
        {"polar stereographic is always north",
         [](P &p) { p.ProjCoordTrans = 15, p.ProjOriginLat = -71;
                    p.ProjStraightVertPoleLong = 70; },
         PM::Stereographic, {{Id::Lat0, 90}, {Id::Lat1, -71}, {Id::Lon0, 70}}},
        {"polar stereographic with the latitude in the scale key",
         [](P &p) { p.ProjCoordTrans = 15, p.ProjScaleAtOrigin = -90; },
         PM::Stereographic, {{Id::Lat0, 90}, {Id::ScaleFactor, 1}}},
        {"parallels just under 1e-5 apart",
         [](P &p) { p.ProjCoordTrans = 8, p.ProjStdParallel = 45, p.ProjStdParallel2 = 45.000009; },
         PM::LambertConformalConic1SP, {}},
        {"parallels just over 1e-5 apart",
         [](P &p) { p.ProjCoordTrans = 8, p.ProjStdParallel = 45, p.ProjStdParallel2 = 45.000011; },
         PM::LambertConformalConic2SP, {}},
        {"oblique Mercator, no azimuth: two-point",
         [](P &p) { p.ProjCoordTrans = 3, p.ProjOriginLong = -120, p.ProjCenterLong = -110; },
         PM::HotineObliqueMercatorTwoPoint,
         {{Id::Lon1, -120}, {Id::Lon2, -110}, {Id::Option, 257}}},
        // The second longitude comes from Lon0, and the centre's scale wins.
        {"oblique Mercator with an azimuth", [](P &p) {
             p.ProjCoordTrans = 3, p.ProjCenterLong = -123, p.ProjCenterLat = 45;
             p.ProjAzimuthAngle = 295, p.ProjScaleAtOrigin = 0.5, p.ProjScaleAtCenter = 0.9996;
         },
         PM::HotineObliqueMercator,
         {{Id::Lon0, -123}, {Id::Lon1, -123}, {Id::Lat0, 45}, {Id::Azimuth, 295},
          {Id::ScaleFactor, 0.9996}, {Id::Option, 257}}},
        {"azimuthal equal area copies Lat0 to Lat1",
         [](P &p) { p.ProjCoordTrans = 10, p.ProjCenterLat = 52, p.ProjCenterLong = 10; },
         PM::LambertAzimuthalEqualArea, {{Id::Lat0, 52}, {Id::Lat1, 52}}},
        // A zero key is not taken: ProjOriginLat and ProjFalseEasting lose to the later keys.
        {"the first nonzero origin and false origin keys win", [](P &p) {
             p.ProjCoordTrans = 8, p.ProjFalseOriginLong = 4, p.ProjFalseOriginLat = 50;
             p.ProjOriginLat = 0, p.ProjFalseEasting = 0, p.ProjFalseOriginEasting = 150000;
             p.ProjCenterEasting = 7, p.ProjCenterNorthing = 5400000;
             p.ProjStdParallel = 49, p.ProjStdParallel2 = 51;
         },
         PM::LambertConformalConic2SP,
         {{Id::Lon0, 4}, {Id::Lat0, 50}, {Id::XOrg, 150000}, {Id::YOrg, 5400000}, {Id::Lat1, 49},
          {Id::Lat2, 51}, {Id::ScaleFactor, 1}, {Id::LinearScale, 1}}},
        // UTM's latitude of origin is 0, so the key fills it; the longitude is already 9 and
        // stays; the scale factor always follows the key.
        {"predefined system with gaps filled", [](P &p) {
             p.ProjCoordTrans = 0, p.ProjectedCSType = 32632, p.ProjLinearUnits = 9002;
             p.ProjOriginLat = 10, p.ProjOriginLong = 3, p.ProjScaleAtOrigin = 0.5;
         },
         PM::UTM,
         {{Id::Lon0, 9}, {Id::Lat0, 10}, {Id::ScaleFactor, 0.5},
          {Id::LinearScale, 3.280839895013123}},
         6326, 7030},
        {"ESRI string, no method from keys",
         [](P &p) {
             p.ProjCoordTrans = 0, p.PCSCitation = std::string("Citation: ") + kEsriUtm10;
         },
         PM::UTM, {{Id::Lon0, -123}}, 6269},
        {"ESRI string, a method from the keys wins", [](P &p) { p.PCSCitation = kEsriUtm10; },
         PM::TransverseMercator, {}},
        {"ESRI string without the phrase",
         [](P &p) { p.ProjCoordTrans = 0, p.PCSCitation = std::string(kEsriUtm10).substr(17); },
         PM::Planar, {}},
        {"ESRI string, geographic model",
         [](P &p) { p.GTModelType = 2, p.ProjCoordTrans = 0, p.PCSCitation = kEsriUtm10; },
         PM::Geographic, {}},
        // clang-format on
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.what);
        GeoTiffParams p = Projected(1);
        c.keys(p);
        const GeoTiffPieces pieces = Decide(p);
        EXPECT_EQ(pieces.projection.GetMethod(), c.method);
        for (auto [id, value] : c.expected)
            EXPECT_EQ(Params(pieces).Get(id), value) << static_cast<int>(id);
        if (c.datum) {
            EXPECT_EQ(pieces.datum.GetPOSC(), c.datum);
        }
        if (c.ellipsoid) {
            EXPECT_EQ(Params(pieces).ellipsoid.GetPOSC(), c.ellipsoid);
        }
    }
}

TEST(GeoTiffDecide, EllipsoidsFromKeys) {
    struct Case {
        const char *what;
        uint16_t ellipsoid;
        double major, minor, inverseFlattening;
        int32_t code;      // expected EPSG code; 0 custom; -1 none (Clarke 1866 fallback)
        double flattening; // for custom ones
    } cases[] = {
        {"by code", 7022, 0, 0, 0, 7022, 0},
        {"by dimensions", kUser, 6378137, 0, 298.257223563, 7030, 0},
        {"custom", kUser, 6378000, 0, 300, 0, 1.0 / 300},
        {"custom from axes", kUser, 6378000, 6357000, 0, 0, 1 - 6357000.0 / 6378000},
        {"a sphere not in the list", kUser, 6370000, 6370000, 0, -1, 0},
        {"axes without the user-defined code", 0, 6378137, 0, 298.257223563, -1, 0},
    };
    for (const Case &c : cases) {
        GeoTiffParams p = Projected(1);
        p.GeogEllipsoid = c.ellipsoid;
        p.GeogSemiMajorAxis = c.major;
        p.GeogSemiMinorAxis = c.minor;
        p.GeogInvFlattening = c.inverseFlattening;
        const GeoTiffPieces pieces = Decide(p);
        const EllipsoidDef &e = pieces.projection.GetEllipsoid();
        EXPECT_EQ(e.GetPOSC(), c.code < 0 ? 7008 : c.code) << c.what; // else Clarke 1866
        if (c.code == 0) {
            EXPECT_EQ(e.GetMajorRadius(), c.major) << c.what;
            EXPECT_DOUBLE_EQ(e.GetFlattening(), c.flattening) << c.what;
        }
    }
}

TEST(GeoTiffDecide, DatumChain) {
    const struct {
        const char *what;
        void (*keys)(P &);
        int32_t datum; // 0: unknown; -1: user-defined on Clarke 1866
    } cases[] = {
        // clang-format off
        // The system's datum comes before the datum key.
        {"system's datum",
         [](P &p) { p.GTModelType = 2, p.GeographicType = 4326, p.GeogGeodeticDatum = 6267; },
         6326},
        {"datum key, system unknown",
         [](P &p) { p.GTModelType = 2, p.GeographicType = kUser, p.GeogGeodeticDatum = 6267; },
         6267},
        {"code + 2000, projected", [](P &p) { p.GTModelType = 1, p.GeographicType = 4267; }, 6267},
        {"beyond 6999 not tried", [](P &p) { p.GTModelType = 1, p.GeographicType = 5451; }, 0},
        {"pseudo-Mercator sphere", [](P &p) { p = Projected(7), p.GeogEllipsoid = 7059; }, 6055},
        {"user-defined, projected", [](P &p) { p = Projected(1), p.GeogGeodeticDatum = kUser; },
         -1},
        // clang-format on
    };
    for (const auto &c : cases) {
        GeoTiffParams p;
        c.keys(p);
        const DatumDef datum = Decide(p).datum;
        if (c.datum > 0) {
            EXPECT_EQ(datum.GetPOSC(), c.datum) << c.what;
        } else if (c.datum == 0) {
            EXPECT_TRUE(datum.IsUnknown()) << c.what;
        } else {
            EXPECT_TRUE(datum.IsUserDefined()) << c.what;
            EXPECT_EQ(datum.GetEllipsoid().GetPOSC(), 7008) << c.what;
        }
    }
}

TEST(GeoTiffDecide, UserDefinedDatumFromToWGS84) {
    GeoTiffParams p;
    p.GTModelType = 2;
    p.GeogToWGS84 = {-87, -98, -121};
    p.GeogPrimeMeridianLong = 2.5;
    p.GeogEllipsoid = 7022;
    const GeoTiffPieces pieces = Decide(p);
    const DatumDef &three = pieces.datum;
    EXPECT_EQ(three.GetMethod(), DatumMethod::ThreeParameter);
    EXPECT_TRUE(three.IsUserDefined());
    EXPECT_EQ(three.GetParameter(DatumParameterID::ShiftX), -87);
    EXPECT_EQ(three.GetParameter(DatumParameterID::ShiftZ), -121);
    EXPECT_EQ(three.GetParameter(DatumParameterID::PrimeMeridian), 2.5);
    EXPECT_EQ(three.GetEllipsoid().GetPOSC(), 7022);
    EXPECT_EQ(pieces.projection.GetMethod(), ProjectionMethod::Geographic);

    for (size_t n : {2, 4, 8}) {
        p.GeogToWGS84.assign(n, 1.0);
        EXPECT_TRUE(Decide(p).datum.IsUnknown()) << n;
    }
}

// End to end on built files: warp, keys, decision and assembly.
struct Extraction {
    bool ok = false;
    GCSDef system;
    shr::ErrorRecord error;
};

Extraction Extract(const GeoTiffBuilder &builder) {
    Extraction r;
    tiff::TiffImageRead file;
    EXPECT_TRUE(Open(file, builder));
    r.ok = GeoTiffExtract(file, 1, r.system, &r.error);
    return r;
}

const std::vector<double> kMatrix = {2, 0, 0, 100, 0, -2, 0, 200, 0, 0, 0, 0, 0, 0, 0, 1};

TEST(GeoTiffExtract, WarpMethodByPointCountReplacesTheMatrix) {
    GeoTiffBuilder builder;
    std::vector<double> tiePoints;
    for (int i = 0; i < 5; ++i)
        tiePoints.insert(tiePoints.end(),
                         {double(i * 10), double(i * i), 0, 100.0 + i * 20, 200.0 - i * i * 2, 0});
    builder.Doubles(33922, tiePoints);
    builder.Doubles(34264, kMatrix);
    const Extraction r = Extract(builder);
    ASSERT_TRUE(r.ok);
    ASSERT_NE(r.system.GetWarp(), nullptr);
    EXPECT_EQ(r.system.GetWarp()->GetMethod(), WarpMethod::Projective);
    EXPECT_EQ(r.system.GetWarp()->GetPointCount(), 5u);
    EXPECT_FALSE(r.system.HasProjection(false, false));
}

// A refused piece fails the result but the other pieces stay; no GeoTIFF tags is no failure.
TEST(GeoTiffExtract, PiecesKeptAndRefused) {
    struct Case {
        const char *what;
        std::vector<testsupport::GeoKey> keys;
        std::vector<double> doubles;
        bool projection, datum;
        bool tagged; // keys, doubles and a matrix, which gives the warp
    } cases[] = {
        // clang-format off
        {"latitude of origin 100",
         {{1024, 0, 1, 1}, {2050, 0, 1, 6326}, {3072, 0, 1, kUser}, {3075, 0, 1, 1},
          {3081, 34736, 1, 0}},
         {100.0}, false, true, true},
        {"prime meridian 200", {{1024, 0, 1, 2}, {2061, 34736, 1, 0}, {2062, 34736, 3, 1}},
         {200.0, 1, 2, 3}, true, false, true},
        {"no GeoTIFF tags", {}, {}, false, false, false},
        // clang-format on
    };
    for (const Case &c : cases) {
        GeoTiffBuilder builder;
        if (c.tagged) {
            builder.Keys(c.keys);
            builder.Doubles(34736, c.doubles);
            builder.Doubles(34264, kMatrix);
        }
        const Extraction r = Extract(builder);
        EXPECT_EQ(r.ok, !c.tagged) << c.what;
        EXPECT_EQ(r.error.code, c.tagged ? kGeoTiffPieceRefused : 0) << c.what;
        EXPECT_EQ(r.system.GetProjection() != nullptr, c.projection) << c.what;
        EXPECT_EQ(r.system.GetDatum() != nullptr, c.datum) << c.what;
        EXPECT_EQ(r.system.GetWarp() != nullptr, c.tagged) << c.what;
        EXPECT_EQ(r.system.GetPOSC(), 0) << c.what;
    }
}

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kHuge = std::numeric_limits<double>::max();

// The model tags of one image; empty ones are not written.
struct Tags {
    std::vector<double> tiePoints = {}, scale = {}, matrix = {}, intergraph = {};
};

GeoTiffBuilder Build(const Tags &t) {
    GeoTiffBuilder b;
    const std::pair<uint16_t, const std::vector<double> *> tags[] = {
        {33922, &t.tiePoints}, {33550, &t.scale}, {34264, &t.matrix}, {33920, &t.intergraph}};
    for (auto [tag, values] : tags)
        if (!values->empty())
            b.Doubles(tag, *values);
    return b;
}

struct WarpResult {
    bool ok = false;
    bool flag = true; // must be cleared on entry
    WarpDef warp;
    shr::ErrorRecord error;
};

WarpResult Read(const GeoTiffBuilder &builder, int image = 1) {
    WarpResult r;
    tiff::TiffImageRead file;
    EXPECT_TRUE(Open(file, builder));
    r.ok = GetGeorefInfoFromGeoTIFF(file, image, r.warp, &r.flag, &r.error);
    return r;
}

std::vector<double> Coefficients(const WarpDef &warp) {
    if (!warp.HasCoefficients())
        return {};
    const AffineCoefficients &c = warp.GetCoefficients();
    return {c.a, c.b, c.c, c.d, c.e, c.f};
}

using Points = std::vector<std::pair<shr::Vec2d, shr::Vec2d>>;

Points ControlPoints(const WarpDef &warp) {
    Points points;
    for (size_t i = 0; i < warp.GetPointCount(); ++i)
        points.emplace_back(warp.GetSourcePoint(i), warp.GetDestinationPoint(i));
    return points;
}

const std::vector<double> kTie = {0, 0, 0, 500000, 4000000, 0};

std::vector<double> Matrix(size_t at, double value, size_t size = 16) {
    std::vector<double> m = kMatrix;
    m.resize(size, kNaN);
    if (at < size)
        m[at] = value;
    return m;
}

TEST(GetGeorefInfoFromGeoTIFF, TagCombinations) {
    using WM = WarpMethod;
    const std::vector<double> kFromMatrix = {2, 0, 100, 0, -2, 200};
    const struct {
        const char *what;
        Tags tags;
        WarpMethod method;
        size_t points;
        std::vector<double> coefficients;
        bool flag;
    } cases[] = {
        // clang-format off
        {"offset tie point and scale", {{10, 20, 0, 500000, 4000000, 0}, {30, 15, 0}},
         WM::Coefficients, 1, {30, 0, 499700, 0, -15, 4000300}, true},
        {"one tie point alone", {kTie}, WM::None, 1, {}, false},
        {"a zero pixel size", {kTie, {30, 0, 0}}, WM::None, 1, {}, false},
        {"tie points of seven values", {{0, 0, 0, 10, 20, 0, 1}}, WM::None, 0, {}, false},
        {"the matrix", {{}, {}, kMatrix}, WM::Coefficients, 0, kFromMatrix, false},
        {"Intergraph y", {{}, {}, {}, kMatrix}, WM::Coefficients, 0, {2, 0, 100, 0, 2, 200}, false},
        {"17 values", {{}, {}, Matrix(16, kNaN, 17)}, WM::Coefficients, 0, kFromMatrix, false},
        {"15 values", {{}, {}, Matrix(16, 0, 15)}, WM::None, 0, {}, false},
        {"matrix wins, points and flag stay", {kTie, {30, 30, 0}, kMatrix}, WM::Coefficients, 1,
         kFromMatrix, true},
        {"NaN beyond m7", {{}, {}, Matrix(8, kNaN)}, WM::Coefficients, 0, kFromMatrix, false},
        // Non-finite values reset the warp.
        {"NaN in the second tie point", {{0, 0, 0, 1, 2, 0, 5, 5, 0, 1, 2, kNaN}}, WM::None, 0, {},
         false},
        {"overflowing shift", {{10, 0, 0, kHuge, 0, 0}, {-kHuge, 1, 0}}, WM::None, 0, {}, false},
        {"NaN in m5 after a tie point and scale", {kTie, {30, 30, 0}, Matrix(5, kNaN)}, WM::None, 0,
         {}, false},
        // clang-format on
    };
    for (const auto &c : cases) {
        const WarpResult r = Read(Build(c.tags));
        EXPECT_TRUE(r.ok) << c.what;
        EXPECT_EQ(r.warp.GetMethod(), c.method) << c.what;
        EXPECT_EQ(r.warp.GetPointCount(), c.points) << c.what;
        EXPECT_EQ(Coefficients(r.warp), c.coefficients) << c.what;
        EXPECT_EQ(r.flag, c.flag) << c.what;
        if (c.method == WM::None && c.points == 0) {
            EXPECT_EQ(r.warp, WarpDef{}) << c.what;
        }
    }
    // ModelTransformationTag wins; when it is unusable the Intergraph tag is not read.
    GeoTiffBuilder shorts = Build({{}, {}, {}, kMatrix});
    shorts.Shorts(34264, std::vector<uint64_t>(16, 1));
    EXPECT_EQ(Read(shorts).warp, WarpDef{});
}

TEST(GetGeorefInfoFromGeoTIFF, SimulatedThirdPoint) {
    WarpResult r = Read(Build({{0, 0, 0, 10, 20, 0, 100, 50, 0, 110, 70, 0}}));
    EXPECT_EQ(ControlPoints(r.warp),
              (Points{{{0, 0}, {10, 20}}, {{100, 50}, {110, 70}}, {{0, 50}, {10, 70}}}));
    GeoTiffSetWarpMethodByPointCount(r.warp);
    EXPECT_EQ(r.warp.GetMethod(), WarpMethod::Affine);
}

TEST(GetGeorefInfoFromGeoTIFF, ImageNumbers) {
    GeoTiffBuilder builder = Build({{}, {}, kMatrix});
    builder.AddImage();
    builder.Doubles(33920, kMatrix);
    EXPECT_EQ(Coefficients(Read(builder, 2).warp), (std::vector<double>{2, 0, 100, 0, 2, 200}));
    for (int image : {0, 3}) {
        const WarpResult r = Read(builder, image);
        EXPECT_FALSE(r.ok) << image;
        EXPECT_FALSE(r.flag) << image;
        EXPECT_EQ(r.warp, WarpDef{}) << image;
        EXPECT_EQ(r.error.code, kGeoTiffNoSuchImage) << image;
    }
}

TEST(GeoTiffSetWarpMethodByPointCount, Thresholds) {
    const std::pair<size_t, WarpMethod> cases[] = {
        {1, WarpMethod::Coefficients}, // fewer than 2: kept
        {2, WarpMethod::Similarity},   {3, WarpMethod::Affine},      {4, WarpMethod::Projective},
        {5, WarpMethod::Projective},   {6, WarpMethod::Polynomial2}, {9, WarpMethod::Polynomial2},
        {10, WarpMethod::Polynomial3},
    };
    for (auto [n, method] : cases) {
        WarpDef warp;
        warp.SetMethod(WarpMethod::Coefficients); // as left by a matrix
        for (size_t i = 0; i < n; ++i)
            warp.AddControlPoint({double(i), 0}, {0, double(i)});
        GeoTiffSetWarpMethodByPointCount(warp);
        EXPECT_EQ(warp.GetMethod(), method) << n;
    }
}

// The rebuild in linear units is compared with gdalinfo by the peer test; what it skips is not.
TEST(GeoTiffRecalculateWarp, NoFinitenessTestNoThirdPointNoMatrix) {
    tiff::TiffImageRead file;
    ASSERT_TRUE(
        Open(file, Build({{0, 0, 0, 10, 20, 0, 100, 50, 0, kNaN, 70, 0}, {kInf, 1, 0}, kMatrix})));
    WarpDef warp;
    EXPECT_TRUE(GeoTiffRecalculateWarp(file, 1, warp, 3.0));
    ASSERT_EQ(warp.GetPointCount(), 2u);
    EXPECT_EQ(warp.GetDestinationPoint(0), (shr::Vec2d{30, 60}));
    EXPECT_TRUE(std::isnan(warp.GetDestinationPoint(1).x));
    EXPECT_EQ(warp.GetMethod(), WarpMethod::None);
    EXPECT_FALSE(warp.HasCoefficients());
}

} // namespace
