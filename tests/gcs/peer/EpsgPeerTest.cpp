// The coordinate-system library against PROJ's EPSG dataset: the known lists are complete (what
// is missing is in the generator's report); datums, ellipsoids, units and shifts agree; every
// system agrees with PROJ's reading of its code through the generator's own method and parameter
// tables; and WKT 1 as PROJ writes it (OGC and ESRI flavours) reads as the list holds it, or for
// methods without EPSG systems as PROJ defines them, with TOWGS84 as PROJ binds.
#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <map>
#include <numbers>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include <proj_experimental.h>

#include "gcs/GcsFile.h"
#include "gcs/KnownLists.h"
#include "gcs/ProjectionDef.h"
#include "shr/Strings.h"
#include "support/peer/PeerProj.h"

namespace {

namespace proj = peer::proj;

using namespace gcs;
using DID = DatumParameterID;
using ID = ProjectionParameterID;

// The generator's EPSG method and parameter tables, read from its output.
enum class Kind { angle, length, scale };

struct Form {
    ProjectionMethod method;
    int32_t option;
};

struct Slot {
    ID id;
    Kind kind;
};

struct Tables {
    std::map<int, Form> methods;
    std::map<int, Slot> parameters;
};

const Tables &Generated() {
    static const Tables tables = [] {
        namespace O = ProjectionOption;
        Tables t;
#define EPSG_METHOD(code, method, options)                                                         \
    t.methods.emplace(code, Form{ProjectionMethod::method, options});
#define EPSG_PARAMETER(code, id, kind) t.parameters.emplace(code, Slot{ID::id, Kind::kind});
#include "epsg_methods.inc"
#undef EPSG_METHOD
#undef EPSG_PARAMETER
        return t;
    }();
    return tables;
}

// Each value PROJ gives (by EPSG parameter code, or PROJ's own name for the two-point forms)
// within a tolerance by kind, longitudes modulo whole turns; nothing else but UTM's South flag
// and the pole a polar stereographic B or C implies.
void ExpectParameters(const ProjectionParameters &ours, const peer::proj::System &peer) {
    static const std::map<std::string, ID> kProjNames = {{"Latitude of 1st point", ID::Lat1},
                                                         {"Longitude of 1st point", ID::Lon1},
                                                         {"Latitude of 2nd point", ID::Lat2},
                                                         {"Longitude of 2nd point", ID::Lon2}};
    const std::map<int, Slot> &slots = Generated().parameters;
    std::set<ID> given;
    for (const peer::proj::Parameter &parameter : peer.parameters) {
        const auto code = slots.find(parameter.code);
        const auto name = kProjNames.find(parameter.name);
        ASSERT_TRUE(code != slots.end() || name != kProjNames.end()) << parameter.name;
        const Slot slot = code != slots.end() ? code->second : Slot{name->second, Kind::angle};
        given.insert(slot.id);
        const double difference = ours.Get(slot.id) - parameter.value;
        EXPECT_LE(
            std::fabs(slot.kind == Kind::angle ? std::remainder(difference, 360.0) : difference),
            slot.kind == Kind::length  ? 1e-6
            : slot.kind == Kind::scale ? 1e-12
                                       : 1e-9)
            << parameter.name << ": ours " << ours.Get(slot.id) << ", PROJ " << parameter.value;
    }
    if (ours.method == ProjectionMethod::UTM)
        given.insert(ID::South);
    if (ours.option & (ProjectionOption::PolarVariantB | ProjectionOption::PolarVariantC)) {
        EXPECT_EQ(ours.lat0, ours.lat1 < 0.0 ? -90.0 : 90.0); // centred on the pole
        given.insert(ID::Lat0);
    }
    const ProjectionParameters defaults;
    for (ID id : {ID::XOrg, ID::YOrg, ID::Lon0, ID::Lon1, ID::Lon2, ID::Lat0, ID::Lat1, ID::Lat2,
                  ID::ScaleFactor, ID::Azimuth, ID::South, ID::GridAngle, ID::Height})
        if (!given.count(id)) {
            EXPECT_EQ(ours.Get(id), defaults.Get(id)) << "unexpected parameter " << int(id);
        }
}

DID ShiftId(int k) { return static_cast<DID>(static_cast<int>(DID::ShiftX) + k); }

// The seven TOWGS84 values of a datum against PROJ's.
void ExpectShifts(const DatumDef &datum, const std::vector<double> &shift) {
    for (int k = 0; k < 7; ++k)
        EXPECT_NEAR(datum.GetParameter(ShiftId(k)), shift.at(static_cast<size_t>(k)), 1e-9) << k;
}

// The report's left-out entries by section ("projected systems", "linear units", ...).
std::map<std::string, std::set<int>> LeftOut() {
    std::ifstream report(IOSID_EPSG_REPORT);
    std::map<std::string, std::set<int>> sections;
    std::string line;
    std::string section;
    const std::string marker = "# left out: ";
    while (std::getline(report, line)) {
        if (line.rfind(marker, 0) == 0) {
            section = line.substr(marker.size(), line.rfind(':') - marker.size());
            sections[section];
        } else if (!section.empty() && !line.empty()) {
            sections[section].insert(std::stoi(line));
        }
    }
    return sections;
}

TEST(EpsgListsPeer, EverySystemIsListedOrReportedLeftOut) {
    std::map<std::string, std::set<int>> leftOut = LeftOut();
    ASSERT_EQ(leftOut.count("projected systems"), 1u) << "cannot read " << IOSID_EPSG_REPORT;
    const std::pair<PJ_TYPE, const char *> kinds[] = {
        {PJ_TYPE_PROJECTED_CRS, "projected systems"},
        {PJ_TYPE_GEOGRAPHIC_2D_CRS, "geographic 2D systems"}};
    size_t total = 0;
    for (const auto &[type, section] : kinds) {
        const std::vector<int> codes = proj::Codes(type);
        total += codes.size();
        const std::set<int> &reported = leftOut[section];
        for (int code : codes) {
            const bool listed = GCSKnownSystemsList.FindByPOSCNumber(code) != 0;
            EXPECT_NE(listed, reported.count(code) == 1)
                << "EPSG:" << code << (listed ? " listed and reported" : " missing");
        }
    }
    EXPECT_EQ(total, static_cast<size_t>(GCSKnownSystemsList.Last()) +
                         leftOut["projected systems"].size() +
                         leftOut["geographic 2D systems"].size());
}

// Every geodetic datum, with its shifts where PROJ binds one of its geographic systems to WGS 84
// (the transformation PROJ picks).
TEST(EpsgListsPeer, DatumsAgree) {
    std::set<int> peerCodes;
    for (PJ_TYPE type : {PJ_TYPE_GEODETIC_REFERENCE_FRAME, PJ_TYPE_DYNAMIC_GEODETIC_REFERENCE_FRAME,
                         PJ_TYPE_DATUM_ENSEMBLE}) {
        for (int code : proj::Codes(type)) {
            proj::PjPtr datum = proj::FromDatabase(code, PJ_CATEGORY_DATUM);
            if (datum && proj::ReadEllipsoid(datum.get())) // geodetic, not vertical
                peerCodes.insert(code);
        }
    }
    std::map<int32_t, int32_t> geographicOf; // datum -> a geographic system on it
    for (int i = GCSKnownSystemsList.First(); i <= GCSKnownSystemsList.Last(); ++i) {
        const GCSDef &system = *GCSKnownSystemsList.GetSystem(i);
        if (system.GetProjection()->GetMethod() == ProjectionMethod::Geographic)
            geographicOf.emplace(system.GetDatum()->GetPOSC(), system.GetPOSC());
    }
    std::set<int> ours;
    int shifts = 0;
    for (int i = GCSKnownDatumsList.First(); i <= GCSKnownDatumsList.Last(); ++i) {
        const DatumDef &datum = *GCSKnownDatumsList.GetDatum(i);
        SCOPED_TRACE("datum EPSG:" + std::to_string(datum.GetPOSC()));
        ours.insert(datum.GetPOSC());
        proj::PjPtr object = proj::FromDatabase(datum.GetPOSC(), PJ_CATEGORY_DATUM);
        ASSERT_TRUE(object);
        const std::optional<proj::Datum> peer = proj::ReadDatum(object.get());
        ASSERT_TRUE(peer.has_value());
        EXPECT_EQ(datum.GetEllipsoid().GetPOSC(), peer->ellipsoid.code);
        EXPECT_NEAR(datum.GetParameter(DID::PrimeMeridian), peer->primeMeridian, 1e-10);
        EXPECT_EQ(datum.GetName(), shr::AtoW(proj_get_name(object.get())));
        const auto geographic = geographicOf.find(datum.GetPOSC());
        if (datum.GetMethod() == DatumMethod::EllipsoidOnly || geographic == geographicOf.end())
            continue;
        const auto shift = proj::BoundToWgs84(geographic->second);
        shifts += shift.has_value();
        if (shift)
            ExpectShifts(datum, *shift);
    }
    EXPECT_EQ(ours, peerCodes);
    RecordProperty("datum_shifts_compared", shifts);
    EXPECT_GT(shifts, 150);
}

TEST(EpsgListsPeer, EllipsoidsAgree) {
    const std::vector<int> codes = proj::Codes(PJ_TYPE_ELLIPSOID);
    EXPECT_EQ(codes.size(), static_cast<size_t>(GCSKnownEllipsoidsList.Last() - 1));
    for (int code : codes) {
        SCOPED_TRACE("ellipsoid EPSG:" + std::to_string(code));
        const int index = GCSKnownEllipsoidsList.FindByPOSCNumber(code);
        ASSERT_GE(index, GCSKnownEllipsoidsList.First());
        const EllipsoidDef &ours = *GCSKnownEllipsoidsList.GetEllipsoid(index);
        proj::PjPtr object = proj::FromDatabase(code, PJ_CATEGORY_ELLIPSOID);
        const std::optional<proj::Ellipsoid> peer = proj::ReadEllipsoid(object.get());
        ASSERT_TRUE(peer.has_value());
        EXPECT_NEAR(ours.GetMajorRadius(), peer->major, 1e-9 * peer->major);
        EXPECT_NEAR(ours.GetMinorRadius(), peer->minor, 1e-9 * peer->minor);
        EXPECT_NEAR(ours.GetInverseFlattening(), peer->inverseFlattening,
                    1e-12 * peer->inverseFlattening);
        EXPECT_TRUE(ours.IsValid());
    }
}

TEST(EpsgListsPeer, LinearUnitsAgree) {
    const std::set<int> leftOut = LeftOut()["linear units"];
    int count = 0;
    PROJ_UNIT_INFO **units =
        proj_get_units_from_database(proj::Context(), "EPSG", "linear", 1, &count);
    ASSERT_NE(units, nullptr);
    int listed = 0;
    for (int i = 0; i < count; ++i) {
        const int code = std::atoi(units[i]->code);
        const int index = GCSKnownLinearUnitsList.FindByPOSCNumber(code);
        SCOPED_TRACE(units[i]->name);
        EXPECT_NE(index >= 0, leftOut.count(code) == 1);
        if (index < 0)
            continue;
        ++listed;
        EXPECT_NEAR(GCSKnownLinearUnitsList.EnumDivider(index), 1.0 / units[i]->conv_factor,
                    1e-12 / units[i]->conv_factor);
        EXPECT_EQ(GCSKnownLinearUnitsList.EnumName(index), shr::AtoW(units[i]->name));
    }
    proj_unit_list_destroy(units);
    EXPECT_EQ(listed, GCSKnownLinearUnitsList.Count());
}

// Which slot the PROJ conversion fills, and the value; UTM zones also give the South flag.
Form ExpectedForm(const proj::System &peer) {
    if (peer.type == PJ_TYPE_GEOGRAPHIC_2D_CRS)
        return {ProjectionMethod::Geographic, 0};
    auto found = Generated().methods.find(peer.methodCode);
    if (found == Generated().methods.end())
        return {ProjectionMethod::Unknown, 0};
    static const std::regex utmZone("UTM zone [1-9][0-9]?[NS]");
    if (peer.methodCode == 9807 && std::regex_match(peer.conversionName, utmZone))
        return {ProjectionMethod::UTM, 0};
    return found->second;
}

// Ours against PROJ's definition of the same system: method, unit, ellipsoid, prime meridian
// and parameters. A list entry also has PROJ's name, codes and the method's option.
void ExpectAsProjDefinesIt(const GCSDef &ours, const proj::System &peer, Form form, bool entry) {
    const ProjectionParameters &p = ours.GetProjection()->GetParameters();
    EXPECT_EQ(p.method, form.method);
    if (form.method == ProjectionMethod::Geographic) // units per degree times radians per unit
        EXPECT_NEAR(p.linearScale * peer.metresPerUnit, std::numbers::pi / 180.0, 1e-15);
    else
        EXPECT_NEAR(1.0 / p.linearScale, peer.metresPerUnit, 1e-15 * peer.metresPerUnit);
    const DatumDef &datum = *ours.GetDatum();
    const EllipsoidDef &ellipsoid = datum.GetEllipsoid();
    EXPECT_NEAR(ellipsoid.GetMajorRadius(), peer.datum.ellipsoid.major, 1e-6);
    EXPECT_NEAR(ellipsoid.GetMinorRadius(), peer.datum.ellipsoid.minor, 1e-6);
    EXPECT_NEAR(ellipsoid.GetInverseFlattening(), peer.datum.ellipsoid.inverseFlattening, 1e-9);
    EXPECT_NEAR(datum.GetParameter(DID::PrimeMeridian), peer.datum.primeMeridian, 1e-10);
    ExpectParameters(p, peer);
    if (!entry)
        return;
    EXPECT_EQ(ours.GetName(), shr::AtoW(peer.name));
    EXPECT_EQ(datum.GetPOSC(), peer.datum.code);
    EXPECT_EQ(ellipsoid.GetPOSC(), peer.datum.ellipsoid.code);
    EXPECT_EQ(p.option, form.option);
    if (p.method == ProjectionMethod::UTM) {
        EXPECT_EQ(p.south, peer.conversionName.back() == 'S' ? 1 : 0);
    }
}

TEST(EpsgSystemsPeer, EverySystemAgreesWithProj) {
    const CSList &list = GCSKnownSystemsList;
    for (int i = list.First(); i <= list.Last(); ++i) {
        const GCSDef &ours = *list.GetSystem(i);
        SCOPED_TRACE("EPSG:" + std::to_string(ours.GetPOSC()));
        const std::optional<proj::System> peer = proj::ReadSystem(ours.GetPOSC());
        ASSERT_TRUE(peer.has_value()) << "PROJ does not know it";
        ASSERT_TRUE(peer->type == PJ_TYPE_GEOGRAPHIC_2D_CRS || peer->type == PJ_TYPE_PROJECTED_CRS);
        const Form form = ExpectedForm(*peer);
        ASSERT_NE(form.method, ProjectionMethod::Unknown) << "PROJ method " << peer->methodCode;
        ExpectAsProjDefinesIt(ours, *peer, form, true);
        if (::testing::Test::HasFailure())
            break; // one system's differences are enough to read
    }
}

// EPSG methods whose systems the library leaves out; their WKT must be refused.
const std::set<int> kLeftOutMethods = {9824, 9816, 1111};

std::string CrsWkt(const PJ *crs, PJ_WKT_TYPE type) {
    const char *options[] = {"MULTILINE=NO", nullptr};
    const char *text = proj_as_wkt(proj::Context(), crs, type, options);
    return text ? text : "";
}

// WKT 1 cannot say everything EPSG does. These differences from the EPSG list come from
// the text, not from reading it: a UTM zone under its own conversion code (the list has
// transverse Mercator, we see the UTM values), the modified azimuthal equidistant and the
// spherical Lambert azimuthal written under their plain names, and a Krovak without AXIS
// nodes, which WKT 1 takes as east and north. ESRI text carries no TOWGS84.
bool ExplainedByWkt1(const GCSDef &ours, const GCSDef &entry, bool esri) {
    ProjectionParameters a = ours.GetProjection()->GetParameters();
    const ProjectionParameters &b = entry.GetProjection()->GetParameters();
    if (a.method == ProjectionMethod::UTM && b.method == ProjectionMethod::TransverseMercator) {
        a.method = b.method;
        a.south = b.south;
    }
    if (a.method == ProjectionMethod::AzimuthalEquidistant &&
        b.method == ProjectionMethod::ModifiedAzimuthalEquidistant)
        a.method = b.method;
    if (a.method == ProjectionMethod::LambertAzimuthalEqualArea ||
        a.method == ProjectionMethod::Krovak)
        a.option = b.option;
    GCSDef adjusted = ours;
    ProjectionDef projection(a);
    adjusted.SetProjection(&projection);
    DatumDef datum = *ours.GetDatum();
    if (esri && datum.GetMethod() == DatumMethod::EllipsoidOnly) {
        datum.SetMethod(entry.GetDatum()->GetMethod(), false);
        for (int k = 0; k < 7; ++k)
            datum.SetParameter(ShiftId(k), entry.GetDatum()->GetParameter(ShiftId(k)));
        adjusted.SetDatum(&datum);
    }
    return adjusted.Compare(entry, true, nullptr);
}

// Our reading of wkt against PROJ's definition of the system it was written from.
void ReadAsProjDefinesIt(const std::string &wkt, ProjectionMethod method,
                         const proj::System &peer) {
    SCOPED_TRACE(wkt);
    GCSDef ours;
    std::wstring why;
    ASSERT_TRUE(gcsfile::ConvertWktToGCSDef(wkt, ours, &why)) << shr::WtoA(why);
    ExpectAsProjDefinesIt(ours, peer, {method, 0}, false);
}

// Every EPSG system in both flavours is the system the list holds under its code; systems of
// left-out methods are refused.
TEST(WktPeer, EveryEpsgSystemReadsAsTheListHoldsIt) {
    const CSList &list = GCSKnownSystemsList;
    std::vector<std::string> failures;
    int compared = 0, refused = 0;
    for (PJ_TYPE type : {PJ_TYPE_PROJECTED_CRS, PJ_TYPE_GEOGRAPHIC_2D_CRS}) {
        for (int code : proj::Codes(type)) {
            proj::PjPtr crs = proj::FromDatabase(code, PJ_CATEGORY_CRS);
            const std::optional<proj::System> peer =
                crs ? proj::ReadSystem(crs.get()) : std::nullopt;
            const int index = list.FindByPOSCNumber(code);
            const bool leftOut = peer && kLeftOutMethods.count(peer->methodCode);
            if (!peer || proj_is_deprecated(crs.get()) || (!leftOut && index < list.First()))
                continue; // reported left out by the generator
            for (PJ_WKT_TYPE flavour : {PJ_WKT1_GDAL, PJ_WKT1_ESRI}) {
                const std::string wkt = CrsWkt(crs.get(), flavour);
                if (wkt.empty())
                    continue; // no WKT 1 form
                const std::string label = "EPSG:" + std::to_string(code) +
                                          (flavour == PJ_WKT1_GDAL ? " OGC: " : " ESRI: ");
                GCSDef ours;
                std::wstring why;
                const bool read = gcsfile::ConvertWktToGCSDef(wkt, ours, &why);
                if (leftOut) {
                    refused += !read && !why.empty();
                    if (read)
                        failures.push_back(label + "read although the method is left out");
                    continue;
                }
                ++compared;
                const GCSDef &entry = *list.GetSystem(index);
                if (!read) {
                    failures.push_back(label + shr::WtoA(why) + "\n    " + wkt);
                    continue;
                }
                if (flavour == PJ_WKT1_GDAL && ours.GetPOSC() != code)
                    failures.push_back(label + "code " + std::to_string(ours.GetPOSC()));
                else if (ours.Compare(entry, true, &why) ||
                         ExplainedByWkt1(ours, entry, flavour == PJ_WKT1_ESRI))
                    continue;
                else if (flavour == PJ_WKT1_GDAL)
                    failures.push_back(label + shr::WtoA(why) + "\n    " + wkt);
                else {
                    // ESRI text has no TOWGS84 and writes some values in other forms (an
                    // azimuth less a turn, Mercator by its parallel): read as PROJ reads it.
                    proj::PjPtr esri(proj_create(proj::Context(), wkt.c_str()));
                    const auto read = esri ? proj::ReadSystem(esri.get()) : std::nullopt;
                    if (!read)
                        failures.push_back(label + shr::WtoA(why) + ", PROJ cannot read it");
                    else
                        ReadAsProjDefinesIt(wkt, entry.GetProjection()->GetMethod(), *read);
                }
            }
        }
    }
    EXPECT_TRUE(failures.empty()) << failures.size() << " differ, the first: " << failures[0];
    EXPECT_GT(compared, 10000);
    EXPECT_GT(refused, 0);
}

// Methods without EPSG systems, and PROJ string forms (units, spheres, TOWGS84, Ferro).
TEST(WktPeer, ProjStringsReadAsProjDefinesThem) {
    using M = ProjectionMethod;
    const std::pair<const char *, M> cases[] = {
        {"+proj=robin +lon_0=10 +x_0=1000 +y_0=2000 +datum=WGS84", M::Robinson},
        {"+proj=sinu +lon_0=10 +datum=WGS84", M::Sinusoidal},
        {"+proj=mill +lon_0=10 +datum=WGS84", M::MillerCylindrical},
        {"+proj=vandg +lon_0=10 +R=6371000", M::VanDerGrinten},
        {"+proj=gnom +lat_0=30 +lon_0=20 +x_0=50 +datum=WGS84", M::Gnomonic},
        {"+proj=ortho +lat_0=30 +lon_0=20 +datum=WGS84", M::Orthographic},
        {"+proj=eqdc +lat_0=10 +lon_0=20 +lat_1=30 +lat_2=50 +datum=NAD83 +units=us-ft",
         M::EquidistantConic},
        {"+proj=aeqd +lat_0=30 +lon_0=20 +datum=WGS84", M::AzimuthalEquidistant},
        {"+proj=omerc +lat_0=40 +lat_1=30 +lon_1=-10 +lat_2=50 +lon_2=10 +k=0.9996 +datum=WGS84",
         M::HotineObliqueMercatorTwoPoint},
        {"+proj=eqearth +lon_0=10 +datum=WGS84", M::EqualEarth},
        {"+proj=bonne +lat_1=40 +lon_0=10 +datum=WGS84", M::Bonne},
        {"+proj=cea +lat_ts=30 +lon_0=10 +ellps=GRS80", M::CylindricalEqualArea},
        {"+proj=merc +lat_ts=20 +lon_0=10 +datum=WGS84 +units=ft", M::Mercator},
        {"+proj=eqc +lat_ts=20 +lon_0=10 +datum=WGS84", M::Equirectangular},
        {"+proj=stere +lat_0=-90 +lat_ts=-70 +lon_0=30 +datum=WGS84", M::Stereographic},
        {"+proj=utm +zone=33 +south +ellps=intl +towgs84=-87,-98,-121", M::UTM},
        {"+proj=tmerc +lat_0=0 +lon_0=9 +k=0.9996 +x_0=500000 +y_0=0 +ellps=bessel "
         "+towgs84=598.1,73.7,418.2,0.202,0.045,-2.455,6.7 +pm=ferro",
         M::UTM}, // the values of UTM zone 32
    };
    for (const auto &[definition, method] : cases) {
        SCOPED_TRACE(definition);
        proj::PjPtr crs(
            proj_create(proj::Context(), (std::string(definition) + " +type=crs").c_str()));
        ASSERT_NE(crs, nullptr);
        // A definition with TOWGS84 comes bound to WGS 84; its own system is the source.
        proj::PjPtr source(proj_get_type(crs.get()) == PJ_TYPE_BOUND_CRS
                               ? proj_get_source_crs(proj::Context(), crs.get())
                               : proj_clone(proj::Context(), crs.get()));
        const std::optional<proj::System> peer = proj::ReadSystem(source.get());
        ASSERT_TRUE(peer.has_value());
        for (PJ_WKT_TYPE flavour : {PJ_WKT1_GDAL, PJ_WKT1_ESRI})
            if (const std::string wkt = CrsWkt(crs.get(), flavour); !wkt.empty())
                ReadAsProjDefinesIt(wkt, method, *peer);
    }
}

// TOWGS84 comes with systems bound to WGS 84: the transformation PROJ picks, three and seven
// parameters, on Greenwich and on Paris.
TEST(WktPeer, Towgs84OfBoundSystemsIsTheOneProjPicks) {
    for (int code : {4121, 4124, 4204, 4314, 4807, 31467, 2154, 2056, 25832}) {
        SCOPED_TRACE("EPSG:" + std::to_string(code));
        proj::PjPtr crs = proj::FromDatabase(code, PJ_CATEGORY_CRS);
        ASSERT_NE(crs, nullptr);
        proj::PjPtr bound(proj_crs_create_bound_crs_to_WGS84(proj::Context(), crs.get(), nullptr));
        const std::optional<std::vector<double>> shift = proj::BoundToWgs84(code);
        ASSERT_TRUE(bound && shift);
        const std::string wkt = CrsWkt(bound.get(), PJ_WKT1_GDAL);
        GCSDef ours;
        std::wstring why;
        ASSERT_TRUE(gcsfile::ConvertWktToGCSDef(wkt, ours, &why)) << shr::WtoA(why) << "\n" << wkt;
        const DatumDef &datum = *ours.GetDatum();
        EXPECT_NE(datum.GetMethod(), DatumMethod::EllipsoidOnly);
        ExpectShifts(datum, *shift);
    }
}

} // namespace
