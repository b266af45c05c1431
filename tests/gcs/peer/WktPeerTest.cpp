// Peer test: WKT 1 as PROJ writes it (OGC and ESRI flavours) read by us. EPSG systems must read
// as the known list holds them (the list itself is compared with PROJ system by system); methods
// without EPSG systems, written from PROJ strings, as PROJ defines them; TOWGS84 as PROJ binds.
#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <set>
#include <string>
#include <vector>

#include <proj_experimental.h>

#include "EpsgMethods.h"
#include "gcs/GcsFile.h"
#include "gcs/KnownLists.h"
#include "shr/Strings.h"
#include "support/peer/PeerProj.h"

namespace {

namespace proj = peer::proj;
using gcs::ProjectionMethod;

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
bool ExplainedByWkt1(const gcs::GCSDef &ours, const gcs::GCSDef &entry, bool esri) {
    gcs::ProjectionParameters a = ours.GetProjection()->GetParameters();
    const gcs::ProjectionParameters &b = entry.GetProjection()->GetParameters();
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
    gcs::GCSDef adjusted = ours;
    gcs::ProjectionDef projection(a);
    adjusted.SetProjection(&projection);
    gcs::DatumDef datum = *ours.GetDatum();
    if (esri && datum.GetMethod() == gcs::DatumMethod::EllipsoidOnly) {
        datum.SetMethod(entry.GetDatum()->GetMethod(), false);
        for (int i = 0; i < 7; ++i) {
            const auto id = static_cast<gcs::DatumParameterID>(
                static_cast<int>(gcs::DatumParameterID::ShiftX) + i);
            datum.SetParameter(id, entry.GetDatum()->GetParameter(id));
        }
        adjusted.SetDatum(&datum);
    }
    return adjusted.Compare(entry, true, nullptr);
}

// Our reading of wkt against PROJ's definition of the system it was written from.
void ExpectAsProjDefinesIt(const std::string &wkt, ProjectionMethod method,
                           const proj::System &peer) {
    SCOPED_TRACE(wkt);
    gcs::GCSDef ours;
    std::wstring why;
    ASSERT_TRUE(gcsfile::ConvertWktToGCSDef(wkt, ours, &why)) << shr::WtoA(why);
    const gcs::ProjectionParameters &p = ours.GetProjection()->GetParameters();
    EXPECT_EQ(p.method, method);
    if (method == ProjectionMethod::Geographic) // units per degree times radians per unit
        EXPECT_NEAR(p.linearScale * peer.metresPerUnit, std::numbers::pi / 180.0, 1e-15);
    else
        EXPECT_NEAR(1.0 / p.linearScale, peer.metresPerUnit, 1e-12);
    const gcs::EllipsoidDef &ellipsoid = ours.GetDatum()->GetEllipsoid();
    EXPECT_NEAR(ellipsoid.GetMajorRadius(), peer.datum.ellipsoid.major, 1e-6);
    EXPECT_NEAR(ellipsoid.GetMinorRadius(), peer.datum.ellipsoid.minor, 1e-6);
    EXPECT_NEAR(ours.GetDatum()->GetParameter(gcs::DatumParameterID::PrimeMeridian),
                peer.datum.primeMeridian, 1e-9);
    epsgmethods::ExpectParameters(p, peer);
}

// Every EPSG system in both flavours is the system the list holds under its code; systems of
// left-out methods are refused.
TEST(WktPeer, EveryEpsgSystemReadsAsTheListHoldsIt) {
    const gcs::CSList &list = gcs::GCSKnownSystemsList;
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
                gcs::GCSDef ours;
                std::wstring why;
                const bool read = gcsfile::ConvertWktToGCSDef(wkt, ours, &why);
                if (leftOut) {
                    refused += !read && !why.empty();
                    if (read)
                        failures.push_back(label + "read although the method is left out");
                    continue;
                }
                ++compared;
                const gcs::GCSDef &entry = *list.GetSystem(index);
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
                        ExpectAsProjDefinesIt(wkt, entry.GetProjection()->GetMethod(), *read);
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
                ExpectAsProjDefinesIt(wkt, method, *peer);
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
        gcs::GCSDef ours;
        std::wstring why;
        ASSERT_TRUE(gcsfile::ConvertWktToGCSDef(wkt, ours, &why)) << shr::WtoA(why) << "\n" << wkt;
        const gcs::DatumDef &datum = *ours.GetDatum();
        EXPECT_NE(datum.GetMethod(), gcs::DatumMethod::EllipsoidOnly);
        for (int i = 0; i < 7; ++i) {
            const auto id = static_cast<gcs::DatumParameterID>(
                static_cast<int>(gcs::DatumParameterID::ShiftX) + i);
            EXPECT_NEAR(datum.GetParameter(id), (*shift)[static_cast<size_t>(i)], 1e-9) << i;
        }
    }
}

} // namespace
