// The GeoTIFF module against its peers on every peer fixture: extracted projection, datum,
// ellipsoid and warp against gdalinfo (within 1e-9 relative, except for the differences our
// extraction rules require, listed per fixture with the rule behind each); GeoKeys and key
// names against libgeotiff (the library behind listgeo); and every current EPSG system PROJ
// knows, written as a GeoTIFF carrying only its code, must come back under that same code.
#include "Subsystems/TiffImage/TiffImageRead.h"
#include "georef/GeoKeyBundle.h"
#include "georef/GeoKeyNames.h"
#include "georef/GeoTiffExtract.h"
#include "georef/GeoTiffKeys.h"
#include "shr/Strings.h"
#include "support/GeoTiffTags.h"
#include "support/peer/Peer.h"
#include "support/peer/PeerProj.h"

#include <geotiff/geotiff.h>
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <map>
#include <set>
#include <string>

// libgeotiff's own TIFF opener; xtiffio.h is not included because libtiff's TIFF type clashes
// with our tiff namespace.
extern "C" void *XTIFFOpen(const char *name, const char *mode);
extern "C" void XTIFFClose(void *tif);

using namespace gcs;
using namespace peer;
using ID = ProjectionParameterID;

namespace {

constexpr double kDegreesPerRadian = 57.29577951308232;

bool Near(double ours, double peer) {
    return std::fabs(ours - peer) <= 1e-9 * std::max({std::fabs(ours), std::fabs(peer), 1.0});
}
#define EXPECT_NEAR_REL(ours, peer) EXPECT_PRED2(Near, ours, peer)

// Where the rules make us differ from GDAL.
enum Difference : unsigned {
    // GDAL moves the origin half a pixel for PixelIsPoint; the warp never reads GTRasterType.
    kPixelIsPoint = 1,
    // One tie point and a scale: the warp is rebuilt with the model coordinates in linear units
    // (the translation mixes the multiplied tie point with the unmultiplied pixel size).
    kWarpInLinearUnit = 2,
    // ProjCoordTrans 9 (LCC 1SP) has no table row: a projected model without a method is local.
    kLocalGrid = 4,
    // The chain knows GeogGeodeticDatum, GeographicType + 2000 (6000-6999), the pseudo-Mercator
    // sphere and GeogToWGS84 (3 or 7 values, geographic model only); nothing else makes a datum.
    kNoDatum = 8,
    // No ellipsoid the keys name or the list holds (axes count only with GeogEllipsoid 32767):
    // Clarke 1866 stands in, for the projection and a user-defined datum alike.
    kClarkeFallback = 16,
    // GeogGeodeticDatum 32767 in a projected model: the datum is ellipsoid only, since
    // GeogToWGS84 is read only while the datum is still unknown.
    kNoShift = 32,
};

const std::map<std::string, unsigned> kDifferences = {
    {"GeogPrimeMeridianGeoKey.tif", kNoDatum},
    {"hotine_oblique_mercator_variant_a.tif", kNoDatum | kClarkeFallback},
    {"lcc1sp.tif", kLocalGrid | kNoDatum | kClarkeFallback},
    {"oblique_stereographic.tif", kWarpInLinearUnit},
    {"pixel_is_point_wgs84.tif", kPixelIsPoint},
    {"peer_2227_ftus.tif", kWarpInLinearUnit},
    {"peer_aea_usft.tif", kWarpInLinearUnit},
    {"peer_sinu_sphere.tif", kClarkeFallback},
    {"peer_tmerc_towgs84.tif", kNoShift},
};

unsigned DifferencesOf(const std::string &path) {
    auto it = kDifferences.find(FileName(path));
    return it == kDifferences.end() ? 0 : it->second;
}

void CompareWarp(const GCSDef &system, const GdalInfo &gdal, double u, unsigned diff) {
    const WarpDef *warp = system.GetWarp();
    ASSERT_NE(warp, nullptr);
    if (!gdal.gcps.empty()) {
        ASSERT_EQ(warp->GetPointCount(), gdal.gcps.size());
        for (size_t i = 0; i < gdal.gcps.size(); ++i) {
            EXPECT_NEAR_REL(warp->GetSourcePoint(i).x, gdal.gcps[i].pixel);
            EXPECT_NEAR_REL(warp->GetSourcePoint(i).y, gdal.gcps[i].line);
            EXPECT_NEAR_REL(warp->GetDestinationPoint(i).x, gdal.gcps[i].x);
            EXPECT_NEAR_REL(warp->GetDestinationPoint(i).y, gdal.gcps[i].y);
        }
        return;
    }
    ASSERT_TRUE(gdal.hasGeoTransform);
    ASSERT_TRUE(warp->HasCoefficients());
    double gt[6];
    std::copy(std::begin(gdal.geoTransform), std::end(gdal.geoTransform), gt);
    if (diff & kPixelIsPoint) {
        gt[0] += 0.5 * gt[1] + 0.5 * gt[2];
        gt[3] += 0.5 * gt[4] + 0.5 * gt[5];
    }
    if (diff & kWarpInLinearUnit) {
        EXPECT_NE(u, 1.0);
        const shr::Vec2d &tie = warp->GetSourcePoint(0);
        gt[0] = u * (gt[0] + gt[1] * tie.x) - gt[1] * tie.x;
        gt[3] = u * (gt[3] + gt[5] * tie.y) - gt[5] * tie.y;
        for (int k : {1, 2, 4, 5})
            gt[k] *= u;
    }
    const AffineCoefficients &c = warp->GetCoefficients();
    const double ours[6] = {c.c, c.a, c.b, c.f, c.d, c.e};
    for (int k = 0; k < 6; ++k)
        EXPECT_NEAR_REL(ours[k], gt[k]) << "geotransform[" << k << "]";
}

void CompareEllipsoid(const EllipsoidDef &ours, const WktNode &spheroid) {
    EXPECT_NEAR_REL(ours.GetMajorRadius(), spheroid.Number(1));
    EXPECT_NEAR_REL(ours.GetInverseFlattening(), spheroid.Number(2));
    if (spheroid.EpsgCode()) {
        EXPECT_EQ(ours.GetPOSC(), spheroid.EpsgCode());
    }
}

void CompareDatum(const GCSDef &system, const WktNode &geogcs, unsigned diff) {
    const DatumDef *datum = system.GetDatum();
    if (diff & kNoDatum) {
        EXPECT_EQ(datum, nullptr);
        return;
    }
    ASSERT_NE(datum, nullptr);
    const WktNode *wktDatum = geogcs.Child("DATUM");
    ASSERT_NE(wktDatum, nullptr);
    if (wktDatum->EpsgCode()) {
        EXPECT_EQ(datum->GetPOSC(), wktDatum->EpsgCode());
    }
    if (diff & kClarkeFallback) {
        EXPECT_EQ(datum->GetEllipsoid().GetPOSC(), 7008);
    } else {
        CompareEllipsoid(datum->GetEllipsoid(), *wktDatum->Child("SPHEROID"));
    }
    // GDAL writes the prime meridian in degrees whatever the angular unit.
    EXPECT_NEAR_REL(datum->GetParameter(DatumParameterID::PrimeMeridian),
                    geogcs.Child("PRIMEM")->Number(1));
    if (diff & kNoShift) {
        EXPECT_TRUE(datum->IsUserDefined());
        EXPECT_EQ(datum->GetMethod(), DatumMethod::EllipsoidOnly);
        EXPECT_NE(wktDatum->Child("TOWGS84"), nullptr);
    } else if (const WktNode *shift = wktDatum->Child("TOWGS84")) {
        for (size_t k = 0; k < shift->values.size(); ++k)
            EXPECT_NEAR_REL(datum->GetParameter(static_cast<DatumParameterID>(5 + k)),
                            shift->Number(k))
                << "TOWGS84[" << k << "]";
    }
}

enum class Kind { Angle, Length, Scale };

struct ParameterMap {
    const char *name;
    ProjectionParameterID id;
    Kind kind;
    const char *method = nullptr; // this method only
};

// WKT 1 parameter names GDAL writes, onto our parameters. The latitude of origin of the polar
// stereographic (variant B) form is the latitude of true scale.
const ParameterMap kParameters[] = {
    {"latitude_of_origin", ID::Lat1, Kind::Angle, "Polar_Stereographic"},
    {"latitude_of_origin", ID::Lat0, Kind::Angle},
    {"central_meridian", ID::Lon0, Kind::Angle},
    {"latitude_of_center", ID::Lat0, Kind::Angle},
    {"longitude_of_center", ID::Lon0, Kind::Angle},
    {"standard_parallel_1", ID::Lat1, Kind::Angle},
    {"standard_parallel_2", ID::Lat2, Kind::Angle},
    {"azimuth", ID::Azimuth, Kind::Angle},
    {"rectified_grid_angle", ID::GridAngle, Kind::Angle},
    {"scale_factor", ID::ScaleFactor, Kind::Scale},
    {"false_easting", ID::XOrg, Kind::Length},
    {"false_northing", ID::YOrg, Kind::Length}};

const ParameterMap *FindParameter(const std::string &method, const std::string &name) {
    for (const ParameterMap &p : kParameters) {
        if (name == p.name && (!p.method || method == p.method))
            return &p;
    }
    return nullptr;
}

void CompareProjection(const GCSDef &system, const WktNode &projcs, double degreesPerUnit,
                       unsigned diff) {
    const ProjectionDef *projection = system.GetProjection();
    ASSERT_NE(projection, nullptr);
    if (diff & kLocalGrid) {
        EXPECT_EQ(projection->GetMethod(), ProjectionMethod::Planar);
        return;
    }
    const ProjectionParameters &q = projection->GetParameters();
    const double metresPerUnit = projcs.Child("UNIT")->Number(1);
    EXPECT_NEAR_REL(q.linearScale, 1.0 / metresPerUnit);
    const std::string method = projcs.Child("PROJECTION")->values.at(0);
    for (const auto &[name, value] : projcs.Parameters()) {
        const ParameterMap *p = FindParameter(method, name);
        ASSERT_NE(p, nullptr) << method << " parameter " << name;
        // Our oblique Mercator from keys carries the grid angle as the azimuth (option bit).
        const bool asAzimuth =
            p->id == ID::GridAngle && (q.option & ProjectionOption::GridAngleFromAzimuth);
        const double unit = p->kind == Kind::Scale    ? 1.0
                            : p->kind == Kind::Length ? metresPerUnit
                                                      : degreesPerUnit;
        EXPECT_NEAR_REL(asAzimuth ? q.azimuth : q.Get(p->id), value * unit) << name;
    }
    if (diff & kClarkeFallback) {
        EXPECT_EQ(q.ellipsoid.GetPOSC(), 7008);
    } else {
        CompareEllipsoid(q.ellipsoid, *projcs.Child("GEOGCS")->Child("DATUM")->Child("SPHEROID"));
    }
}

void CompareSystem(const GCSDef &system, const std::string &wkt, unsigned diff) {
    WktNode root;
    ASSERT_TRUE(ParseWkt(wkt, root)) << wkt;
    const bool projected = root.keyword == "PROJCS";
    const WktNode *geogcs = projected ? root.Child("GEOGCS") : &root;
    ASSERT_NE(geogcs, nullptr);
    const double degreesPerUnit = geogcs->Child("UNIT")->Number(1) * kDegreesPerRadian;
    CompareDatum(system, *geogcs, diff);
    if (projected) {
        CompareProjection(system, root, degreesPerUnit, diff);
    } else {
        ASSERT_NE(system.GetProjection(), nullptr);
        EXPECT_EQ(system.GetProjection()->GetMethod(), ProjectionMethod::Geographic);
    }
    // When both name a predefined system, it is the same one.
    if (root.EpsgCode() && system.GetPOSC()) {
        EXPECT_EQ(system.GetPOSC(), root.EpsgCode());
    }
}

TEST(GeoTiffPeer, ExtractionAgreesWithGdalinfo) {
    for (const std::string &path : GeoTiffFixtures()) {
        SCOPED_TRACE(FileName(path));
        GdalInfo gdal;
        std::string error;
        ASSERT_TRUE(ReadGdalInfo(path, gdal, error)) << error;
        tiff::TiffImageRead file;
        ASSERT_TRUE(file.OpenFile(shr::AtoW(path)));
        georef::GeoTiffPieces pieces;
        ASSERT_TRUE(georef::GeoTiffExtractPieces(file, 1, pieces));
        GCSDef system;
        ASSERT_TRUE(georef::GeoTiffAssemble(pieces, system));
        const unsigned diff = DifferencesOf(path);
        EXPECT_EQ(gdal.rasterType == 2, (diff & kPixelIsPoint) != 0);
        CompareWarp(system, gdal, pieces.linearUnitsPerMeter, diff);
        ASSERT_FALSE(gdal.wkt.empty());
        CompareSystem(system, gdal.wkt, diff);
    }
}

// Ids of the entries past the count the directory's header states. libgeotiff stops at that
// count; our decoding ignores the header and reads every entry the tag holds (cassini_soldner.tif
// pads its directory with an entry of zeros).
std::multiset<uint32_t> EntriesPastHeaderCount(const std::string &path) {
    std::multiset<uint32_t> ids;
    tiff::TiffImageRead file;
    const tiff::TiffEntry *tag = nullptr;
    if (file.OpenFile(shr::AtoW(path)))
        tag = file.FindTag(0, tiff::kTagGeoKeyDirectory);
    if (!tag || tag->type != tiff::kTypeShort || tag->count < 4)
        return ids;
    const uint16_t *words = reinterpret_cast<const uint16_t *>(tag->Data());
    for (uint64_t first = 4 + 4 * uint64_t{words[3]}; first < tag->count; first += 4)
        ids.insert(words[first]);
    return ids;
}

void ExpectSameKey(const georef::GeoKeyBundle &bundle, uint32_t index, GTIF *peer) {
    const auto id = static_cast<geokey_t>(bundle.GetKeyId(index));
    SCOPED_TRACE(id);
    int size = 0;
    tagtype_t type = TYPE_UNKNOWN;
    const int count = GTIFKeyInfo(peer, id, &size, &type);
    ASSERT_GT(count, 0) << "libgeotiff has no such key";
    EXPECT_EQ(bundle.GetCount(index), static_cast<uint32_t>(count));
    switch (bundle.GetKind(index)) {
    case georef::kGeoKeyShort: {
        uint16_t value = 0;
        ASSERT_EQ(type, TYPE_SHORT);
        ASSERT_EQ(GTIFKeyGet(peer, id, &value, 0, 1), 1);
        EXPECT_EQ(bundle.GetShort(index), value);
        break;
    }
    case georef::kGeoKeyDouble: {
        ASSERT_EQ(type, TYPE_DOUBLE);
        std::vector<double> values(static_cast<size_t>(count));
        ASSERT_EQ(GTIFKeyGet(peer, id, values.data(), 0, count), count);
        for (int k = 0; k < count; ++k)
            EXPECT_EQ(bundle.GetDouble(index, k), values[static_cast<size_t>(k)]) << k;
        break;
    }
    default: {
        ASSERT_EQ(type, TYPE_ASCII);
        std::vector<char> text(static_cast<size_t>(count) + 1, '\0');
        GTIFKeyGetASCII(peer, id, text.data(), count + 1);
        // libgeotiff drops the "|" that ends each text.
        std::string ours = bundle.GetTextString(index);
        if (!ours.empty() && ours.back() == '|')
            ours.pop_back();
        EXPECT_EQ(ours, std::string(text.data()));
    }
    }
}

TEST(GeoTiffPeer, KeysMatchLibgeotiff) {
    for (const std::string &path : peer::GeoTiffFixtures()) {
        SCOPED_TRACE(peer::FileName(path));
        void *tif = XTIFFOpen(path.c_str(), "r");
        ASSERT_NE(tif, nullptr);
        GTIF *peer = GTIFNew(tif);
        ASSERT_NE(peer, nullptr);
        int versions[3] = {}, keyCount = 0;
        GTIFDirectoryInfo(peer, versions, &keyCount);
        georef::GeoKeyBundle bundle;
        ASSERT_TRUE(georef::GeoTiffExtractKeys(shr::AtoW(path), 1, bundle));
        std::multiset<uint32_t> uncounted = EntriesPastHeaderCount(path);
        int compared = 0;
        for (uint32_t i = 1; i < bundle.GetEntryCount(); ++i) {
            auto extra = uncounted.find(bundle.GetKeyId(i));
            if (extra != uncounted.end()) {
                uncounted.erase(extra);
                continue;
            }
            ExpectSameKey(bundle, i, peer);
            ++compared;
        }
        EXPECT_EQ(compared, keyCount);
        GTIFFree(peer);
        XTIFFClose(tif);
    }
}

TEST(GeoKeyNames, AgreeWithLibgeotiff) {
    // libgeotiff spells these after GeoTIFF 1.1 or its own aliases; 3096 and 5120 are 1.1
    // keys this module does not name.
    const std::map<uint32_t, std::string> kNewerSpelling = {
        {2062, "GeogTOWGS84GeoKey"},          {3078, "ProjStdParallel1GeoKey"},
        {3080, "ProjNatOriginLongGeoKey"},    {3081, "ProjNatOriginLatGeoKey"},
        {3092, "ProjScaleAtNatOriginGeoKey"}, {3096, "ProjRectifiedGridAngleGeoKey"},
        {5120, "CoordinateEpochGeoKey"}};
    int named = 0;
    for (uint32_t id = 0; id < 65536; ++id) {
        const std::string theirs = GTIFKeyName(static_cast<geokey_t>(id));
        const char *ours = georef::GeoKeyName(id);
        const auto newer = kNewerSpelling.find(id);
        if (theirs.rfind("Unknown-", 0) == 0 || newer != kNewerSpelling.end()) {
            EXPECT_EQ(ours != nullptr, newer != kNewerSpelling.end() && id != 3096 && id != 5120)
                << id;
            EXPECT_TRUE(newer == kNewerSpelling.end() || newer->second == theirs) << id;
            continue;
        }
        ++named;
        ASSERT_NE(ours, nullptr) << id << " " << theirs;
        EXPECT_EQ(std::string(ours) + "GeoKey", theirs) << id;
    }
    EXPECT_GT(named, 40);
}

// About 5,700 tiny files, a few seconds; they stay in the tests' scratch folder under
// epsg_sweep/ for `iosid georef --json`.
struct SweepCase {
    PJ_TYPE type;
    uint16_t modelType;
    uint16_t codeKey; // ProjectedCSTypeGeoKey or GeographicTypeGeoKey
    // Codes the library leaves out (no single projection: the UTM zone chosen per point, a
    // grid of squares; or based on a 3D system); they must stay unrecognised, not mistaken.
    std::set<int> leftOut;
};

const SweepCase kCases[] = {
    {PJ_TYPE_PROJECTED_CRS, 1, 3072, {32600, 32700, 22300, 9895}},
    {PJ_TYPE_GEOGRAPHIC_2D_CRS, 2, 2048, {}},
};

TEST(EpsgRecognition, EveryCurrentSystemComesBackUnderItsOwnCode) {
    // Fresh files: rewriting existing ones makes the file system flush each on close.
    const std::string directory = testsupport::ScratchPath("epsg_sweep");
    std::filesystem::remove_all(directory);
    std::filesystem::create_directories(directory);
    for (const SweepCase &c : kCases) {
        int swept = 0;
        std::string misses;
        for (const int code : peer::proj::Codes(c.type, /*deprecated=*/false)) {
            if (code <= 0 || code > 0xFFFF)
                continue; // no GeoKey can hold it
            testsupport::GeoTiffTags builder;
            builder.Keys({{1024, 0, 1, c.modelType},
                          {1025, 0, 1, 1},
                          {c.codeKey, 0, 1, static_cast<uint16_t>(code)}});
            const std::wstring path = builder.Write("epsg_sweep/" + std::to_string(code) + ".tif");
            GCSDef system;
            ASSERT_TRUE(georef::GeoTiffExtract(path, 1, system)) << code;
            ++swept;
            if (system.GetPOSC() != (c.leftOut.count(code) ? 0 : code))
                misses += " " + std::to_string(code) + "->" + std::to_string(system.GetPOSC());
        }
        EXPECT_GT(swept, 0) << "PROJ lists no codes";
        EXPECT_EQ(misses, "") << "model type " << c.modelType;
    }
}

} // namespace
