// Peer test: every system of the known list against PROJ's reading of the same EPSG code:
// method, parameters, datum, ellipsoid, prime meridian and unit.
#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <regex>
#include <set>
#include <string>

#include "EpsgPeer.h"
#include "gcs/KnownLists.h"
#include "shr/Strings.h"

namespace {

using gcs::ProjectionMethod;
using ID = gcs::ProjectionParameterID;
namespace Option = gcs::ProjectionOption;

struct MethodForm {
    ProjectionMethod method;
    int32_t option;
};

// EPSG conversion methods and what the library calls them.
const std::map<int, MethodForm> kMethods = {
    {9807, {ProjectionMethod::TransverseMercator, 0}},
    {9808, {ProjectionMethod::TransverseMercatorSouth, 0}},
    {9801, {ProjectionMethod::LambertConformalConic1SP, 0}},
    {9802, {ProjectionMethod::LambertConformalConic2SP, 0}},
    {9803, {ProjectionMethod::LambertConformalConicBelgium, 0}},
    {1051, {ProjectionMethod::LambertConformalConicMichigan, 0}},
    {9817, {ProjectionMethod::LambertConicNearConformal, 0}},
    {9826, {ProjectionMethod::LambertConformalConicWest, 0}},
    {9822, {ProjectionMethod::AlbersEqualArea, 0}},
    {9806, {ProjectionMethod::CassiniSoldner, 0}},
    {9833, {ProjectionMethod::HyperbolicCassiniSoldner, 0}},
    {9809, {ProjectionMethod::Stereographic, 0}},
    {9810, {ProjectionMethod::Stereographic, Option::PolarVariantA}},
    {9829, {ProjectionMethod::Stereographic, Option::PolarVariantB}},
    {9830, {ProjectionMethod::Stereographic, Option::PolarVariantC}},
    {9812, {ProjectionMethod::HotineObliqueMercator, Option::NaturalOrigin}},
    {9815, {ProjectionMethod::HotineObliqueMercator, 0}},
    {9813, {ProjectionMethod::LabordeObliqueMercator, 0}},
    {9820, {ProjectionMethod::LambertAzimuthalEqualArea, 0}},
    {1027, {ProjectionMethod::LambertAzimuthalEqualArea, Option::Spherical}},
    {9804, {ProjectionMethod::Mercator, 0}},
    {9805, {ProjectionMethod::Mercator, 0}},
    {9841, {ProjectionMethod::Mercator, Option::Spherical}},
    {1024, {ProjectionMethod::PseudoMercator, 0}},
    {9818, {ProjectionMethod::Polyconic, 0}},
    {9819, {ProjectionMethod::Krovak, 0}},
    {1041, {ProjectionMethod::Krovak, Option::NorthOrientated}},
    {1042, {ProjectionMethod::Krovak, Option::Modified}},
    {1043, {ProjectionMethod::Krovak, Option::Modified | Option::NorthOrientated}},
    {1052, {ProjectionMethod::ColombiaUrban, 0}},
    {1078, {ProjectionMethod::EqualEarth, 0}},
    {9842, {ProjectionMethod::Equirectangular, 0}},
    {1028, {ProjectionMethod::Equirectangular, 0}},
    {9823, {ProjectionMethod::Equirectangular, Option::Spherical}},
    {1029, {ProjectionMethod::Equirectangular, Option::Spherical}},
    {9835, {ProjectionMethod::CylindricalEqualArea, 0}},
    {9834, {ProjectionMethod::CylindricalEqualArea, Option::Spherical}},
    {9828, {ProjectionMethod::Bonne, Option::SouthOrientated}},
    {9811, {ProjectionMethod::NewZealandMapGrid, 0}},
    {9831, {ProjectionMethod::Guam, 0}},
    {9832, {ProjectionMethod::ModifiedAzimuthalEquidistant, 0}},
};

enum class Kind { Latitude, Longitude, Length, Scale, Angle };

struct Slot {
    ID id;
    Kind kind;
};

// EPSG parameters and the slot each fills.
const std::map<int, Slot> kParameters = {
    {8801, {ID::Lat0, Kind::Latitude}},     {8802, {ID::Lon0, Kind::Longitude}},
    {8805, {ID::ScaleFactor, Kind::Scale}}, {8806, {ID::XOrg, Kind::Length}},
    {8807, {ID::YOrg, Kind::Length}},       {8811, {ID::Lat0, Kind::Latitude}},
    {8812, {ID::Lon0, Kind::Longitude}},    {8813, {ID::Azimuth, Kind::Angle}},
    {8814, {ID::GridAngle, Kind::Angle}},   {8815, {ID::ScaleFactor, Kind::Scale}},
    {8816, {ID::XOrg, Kind::Length}},       {8817, {ID::YOrg, Kind::Length}},
    {8818, {ID::Lat1, Kind::Latitude}},     {8819, {ID::ScaleFactor, Kind::Scale}},
    {8821, {ID::Lat0, Kind::Latitude}},     {8822, {ID::Lon0, Kind::Longitude}},
    {8823, {ID::Lat1, Kind::Latitude}},     {8824, {ID::Lat2, Kind::Latitude}},
    {8826, {ID::XOrg, Kind::Length}},       {8827, {ID::YOrg, Kind::Length}},
    {8832, {ID::Lat1, Kind::Latitude}},     {8833, {ID::Lon0, Kind::Longitude}},
    {1036, {ID::Azimuth, Kind::Angle}},     {1038, {ID::ScaleFactor, Kind::Scale}},
    {1039, {ID::Height, Kind::Length}},
};

constexpr ID kAllIds[] = {ID::XOrg,  ID::YOrg,      ID::Lon0,  ID::Lon1,        ID::Lon2,
                          ID::Lat0,  ID::Lat1,      ID::Lat2,  ID::ScaleFactor, ID::Azimuth,
                          ID::South, ID::GridAngle, ID::Height};

bool Near(double a, double b, Kind kind) {
    switch (kind) {
    case Kind::Length:
        return std::fabs(a - b) <= 1e-6 * std::fmax(1.0, std::fabs(b));
    case Kind::Scale:
        return std::fabs(a - b) <= 1e-12;
    case Kind::Longitude:
        return std::fabs(std::remainder(a - b, 360.0)) <= 1e-9;
    default:
        return std::fabs(a - b) <= 1e-9;
    }
}

// Counts of what was compared, to show the comparison covered every method.
struct Coverage {
    std::map<int, int> methods; // by EPSG method code
    int geographic = 0;
    int parameters = 0;
};

void CompareDatum(const gcs::GCSDef &ours, const epsgpeer::Datum &peer) {
    const gcs::DatumDef &datum = *ours.GetDatum();
    EXPECT_EQ(datum.GetPOSC(), peer.code);
    const gcs::EllipsoidDef &ellipsoid = datum.GetEllipsoid();
    EXPECT_EQ(ellipsoid.GetPOSC(), peer.ellipsoid.code);
    EXPECT_NEAR(ellipsoid.GetMajorRadius(), peer.ellipsoid.major, 1e-6);
    EXPECT_NEAR(ellipsoid.GetMinorRadius(), peer.ellipsoid.minor, 1e-6);
    EXPECT_NEAR(ellipsoid.GetInverseFlattening(), peer.ellipsoid.inverseFlattening, 1e-9);
    EXPECT_NEAR(datum.GetParameter(gcs::DatumParameterID::PrimeMeridian), peer.primeMeridian,
                1e-10);
}

// Which slot the PROJ conversion fills, and the value; UTM zones also give the South flag.
MethodForm ExpectedForm(const epsgpeer::System &peer) {
    auto found = kMethods.find(peer.methodCode);
    if (found == kMethods.end())
        return {ProjectionMethod::Unknown, 0};
    static const std::regex utmZone("UTM zone [1-9][0-9]?[NS]");
    if (peer.methodCode == 9807 && std::regex_match(peer.conversionName, utmZone))
        return {ProjectionMethod::UTM, 0};
    return found->second;
}

void CompareProjection(const gcs::ProjectionParameters &ours, const epsgpeer::System &peer,
                       Coverage &coverage) {
    const MethodForm form = ExpectedForm(peer);
    ASSERT_NE(form.method, ProjectionMethod::Unknown) << "PROJ method " << peer.methodCode;
    EXPECT_EQ(static_cast<int>(ours.method), static_cast<int>(form.method));
    EXPECT_EQ(ours.option, form.option);
    EXPECT_NEAR(1.0 / ours.linearScale, peer.metresPerUnit, 1e-15 * peer.metresPerUnit);
    std::set<ID> given;
    for (const epsgpeer::Parameter &parameter : peer.parameters) {
        auto slot = kParameters.find(parameter.code);
        ASSERT_NE(slot, kParameters.end()) << "PROJ parameter " << parameter.name;
        given.insert(slot->second.id);
        const double value = ours.Get(slot->second.id);
        EXPECT_TRUE(Near(value, parameter.value, slot->second.kind))
            << parameter.name << ": ours " << value << ", PROJ " << parameter.value;
        ++coverage.parameters;
    }
    if (ours.method == ProjectionMethod::UTM) {
        EXPECT_EQ(ours.south, peer.conversionName.back() == 'S' ? 1 : 0);
        given.insert(ID::South);
    }
    if (ours.option & (Option::PolarVariantB | Option::PolarVariantC)) {
        EXPECT_EQ(ours.lat0, ours.lat1 < 0.0 ? -90.0 : 90.0); // centred on the pole
        given.insert(ID::Lat0);
    }
    // Nothing beyond what EPSG gives.
    const gcs::ProjectionParameters defaults;
    for (ID id : kAllIds) {
        if (!given.count(id)) {
            EXPECT_EQ(ours.Get(id), defaults.Get(id)) << "unexpected parameter " << int(id);
        }
    }
}

TEST(EpsgSystemsPeer, EverySystemAgreesWithProj) {
    Coverage coverage;
    const gcs::CSList &list = gcs::GCSKnownSystemsList;
    for (int i = list.First(); i <= list.Last(); ++i) {
        const gcs::GCSDef &ours = *list.GetSystem(i);
        SCOPED_TRACE("EPSG:" + std::to_string(ours.GetPOSC()));
        const std::optional<epsgpeer::System> peer = epsgpeer::ReadSystem(ours.GetPOSC());
        ASSERT_TRUE(peer.has_value()) << "PROJ does not know it";
        EXPECT_EQ(ours.GetName(), shr::AtoW(peer->name));
        CompareDatum(ours, peer->datum);
        const gcs::ProjectionParameters &params = ours.GetProjection()->GetParameters();
        if (peer->type == PJ_TYPE_GEOGRAPHIC_2D_CRS) {
            EXPECT_EQ(static_cast<int>(params.method), 1);
            EXPECT_NEAR(peer->metresPerUnit, 0.017453292519943295, 1e-15); // degrees
            ++coverage.geographic;
            continue;
        }
        ASSERT_EQ(peer->type, PJ_TYPE_PROJECTED_CRS);
        CompareProjection(params, *peer, coverage);
        ++coverage.methods[peer->methodCode];
        if (::testing::Test::HasFailure())
            break; // one system's differences are enough to read
    }
    // Every EPSG method of the table above was met.
    for (const auto &entry : kMethods)
        EXPECT_GT(coverage.methods[entry.first], 0) << "no system of method " << entry.first;
    EXPECT_EQ(coverage.methods.size(), kMethods.size());
    EXPECT_GT(coverage.geographic, 600);
    EXPECT_GT(coverage.parameters, 25000);
}

} // namespace
