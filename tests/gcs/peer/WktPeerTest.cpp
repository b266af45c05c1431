// Peer test: our reading of WKT 1 (OGC and ESRI flavours, written by PROJ from EPSG
// definitions and PROJ strings) against PROJ's reading of the same text: method,
// parameters, ellipsoid, prime meridian, TOWGS84, datum code and linear unit.
#include <gtest/gtest.h>
#include <proj.h>
#include <proj_experimental.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <map>
#include <memory>
#include <numbers>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "EpsgMethods.h"
#include "gcs/GcsFile.h"
#include "gcs/KnownLists.h"
#include "shr/Strings.h"
#include "support/peer/PeerProj.h"

using gcs::ProjectionMethod;
using gcs::ProjectionParameterID;
namespace Option = gcs::ProjectionOption;

namespace {

using peer::proj::PjPtr;

// What PROJ reads from a WKT string, in our units.
struct ProjView {
    bool projected = false;
    std::string methodCode; // EPSG code, empty for PROJ's own methods
    std::string methodName;
    std::map<ProjectionParameterID, double> params;
    std::vector<std::string> unmapped;
    double major = 0.0, minor = 0.0;
    double primeMeridian = 0.0; // degrees
    std::optional<std::vector<double>> towgs84;
    int datumCode = 0;
    double metresPerUnit = 1.0;
};

// PROJ's own parameter names for methods EPSG does not define.
const std::map<std::string, ProjectionParameterID> kProjParameterNames = {
    {"Latitude of 1st point", ProjectionParameterID::Lat1},
    {"Longitude of 1st point", ProjectionParameterID::Lon1},
    {"Latitude of 2nd point", ProjectionParameterID::Lat2},
    {"Longitude of 2nd point", ProjectionParameterID::Lon2},
};

bool IsAngleParameter(ProjectionParameterID id) {
    switch (id) {
    case ProjectionParameterID::Lon0:
    case ProjectionParameterID::Lon1:
    case ProjectionParameterID::Lon2:
    case ProjectionParameterID::Lat0:
    case ProjectionParameterID::Lat1:
    case ProjectionParameterID::Lat2:
    case ProjectionParameterID::Azimuth:
    case ProjectionParameterID::GridAngle:
        return true;
    default:
        return false;
    }
}

void ReadConversion(PJ_CONTEXT *ctx, const PJ *crs, ProjView &view) {
    PjPtr op(proj_crs_get_coordoperation(ctx, crs));
    if (!op)
        return;
    const char *name = nullptr, *auth = nullptr, *code = nullptr;
    proj_coordoperation_get_method_info(ctx, op.get(), &name, &auth, &code);
    view.methodName = name ? name : "";
    view.methodCode = code && auth && std::strcmp(auth, "EPSG") == 0 ? code : "";
    const int count = proj_coordoperation_get_param_count(ctx, op.get());
    for (int i = 0; i < count; ++i) {
        const char *pname = nullptr, *pauth = nullptr, *pcode = nullptr;
        double value = 0.0, factor = 1.0;
        const char *category = nullptr;
        proj_coordoperation_get_param(ctx, op.get(), i, &pname, &pauth, &pcode, &value, nullptr,
                                      &factor, nullptr, nullptr, nullptr, &category);
        std::optional<ProjectionParameterID> id;
        const auto &epsg = epsgmethods::Parameters();
        if (pcode && epsg.count(std::atoi(pcode)))
            id = epsg.at(std::atoi(pcode)).id;
        else if (pname && kProjParameterNames.count(pname))
            id = kProjParameterNames.at(pname);
        if (!id) {
            view.unmapped.push_back(pname ? pname : "?");
            continue;
        }
        const bool angle = category && std::strcmp(category, "angular") == 0;
        view.params[*id] = angle ? value * factor * 180.0 / std::numbers::pi : value * factor;
    }
}

void ReadDatum(PJ_CONTEXT *ctx, const PJ *crs, ProjView &view) {
    PjPtr ellipsoid(proj_get_ellipsoid(ctx, crs));
    double inverseFlattening = 0.0;
    int computed = 0;
    if (ellipsoid)
        proj_ellipsoid_get_parameters(ctx, ellipsoid.get(), &view.major, &view.minor, &computed,
                                      &inverseFlattening);
    PjPtr meridian(proj_get_prime_meridian(ctx, crs));
    double longitude = 0.0, factor = 1.0;
    if (meridian &&
        proj_prime_meridian_get_parameters(ctx, meridian.get(), &longitude, &factor, nullptr))
        view.primeMeridian = longitude * factor * 180.0 / std::numbers::pi;
    PjPtr datum(proj_crs_get_datum_forced(ctx, crs));
    const char *code = datum ? proj_get_id_code(datum.get(), 0) : nullptr;
    view.datumCode = code ? std::atoi(code) : 0;
}

std::optional<ProjView> ReadWithProj(PJ_CONTEXT *ctx, const std::string &wkt) {
    PjPtr crs(proj_create(ctx, wkt.c_str()));
    if (!crs)
        return std::nullopt;
    ProjView view;
    if (proj_get_type(crs.get()) == PJ_TYPE_BOUND_CRS) {
        PjPtr transformation(proj_crs_get_coordoperation(ctx, crs.get()));
        std::vector<double> values(7, 0.0);
        if (transformation &&
            proj_coordoperation_get_towgs84_values(ctx, transformation.get(), values.data(), 7, 0))
            view.towgs84 = values;
        crs.reset(proj_get_source_crs(ctx, crs.get()));
        if (!crs)
            return std::nullopt;
    }
    const PJ_TYPE type = proj_get_type(crs.get());
    view.projected = type == PJ_TYPE_PROJECTED_CRS;
    if (view.projected) {
        ReadConversion(ctx, crs.get(), view);
        PjPtr cs(proj_crs_get_coordinate_system(ctx, crs.get()));
        proj_cs_get_axis_info(ctx, cs.get(), 0, nullptr, nullptr, nullptr, &view.metresPerUnit,
                              nullptr, nullptr, nullptr);
    }
    ReadDatum(ctx, crs.get(), view);
    return view;
}

// The EPSG method codes (or PROJ method names) our method and options stand for: the
// generator's rows for the method, those with our options when there are such.
std::set<std::string> ExpectedProjMethods(const gcs::ProjectionParameters &p) {
    static const std::map<ProjectionMethod, std::set<std::string>> kProjOnly = {
        {ProjectionMethod::HotineObliqueMercatorTwoPoint,
         {"Hotine Oblique Mercator Two Point Natural Origin"}},
        {ProjectionMethod::Gnomonic, {"Gnomonic"}},
        {ProjectionMethod::Sinusoidal, {"Sinusoidal"}},
        {ProjectionMethod::Robinson, {"Robinson"}},
        {ProjectionMethod::MillerCylindrical, {"Miller Cylindrical"}},
        {ProjectionMethod::VanDerGrinten, {"Van Der Grinten"}},
        {ProjectionMethod::EquidistantConic, {"1119", "Equidistant Conic"}},
        {ProjectionMethod::AzimuthalEquidistant, {"9832"}},
    };
    const ProjectionMethod method =
        p.method == ProjectionMethod::UTM ? ProjectionMethod::TransverseMercator : p.method;
    std::set<std::string> any, exact;
    for (const auto &[code, form] : epsgmethods::Methods()) {
        if (form.method != method)
            continue;
        any.insert(std::to_string(code));
        if (form.option == p.option)
            exact.insert(std::to_string(code));
    }
    std::set<std::string> expected = exact.empty() ? any : exact;
    if (kProjOnly.count(method))
        expected.insert(kProjOnly.at(method).begin(), kProjOnly.at(method).end());
    return expected;
}

double OurValue(const gcs::ProjectionParameters &p, ProjectionParameterID id) { return p.Get(id); }

// Values our method implies that PROJ does not list: the pole of the polar stereographic
// forms B and C, and a Hotine grid angle equal to the azimuth.
bool IsDerived(const gcs::ProjectionParameters &p, ProjectionParameterID id, const ProjView &view) {
    if (p.method == ProjectionMethod::Stereographic && id == ProjectionParameterID::Lat0 &&
        (p.option & (Option::PolarVariantB | Option::PolarVariantC)))
        return std::fabs(p.lat0) == 90.0;
    if (p.method == ProjectionMethod::HotineObliqueMercator &&
        id == ProjectionParameterID::GridAngle && view.params.count(ProjectionParameterID::Azimuth))
        return p.gridAngle == view.params.at(ProjectionParameterID::Azimuth);
    return false;
}

void CompareParameters(const gcs::ProjectionParameters &ours, const ProjView &view,
                       std::vector<std::string> &problems) {
    for (const auto &[id, value] : view.params) {
        const double tolerance = IsAngleParameter(id)                       ? 1e-9
                                 : id == ProjectionParameterID::ScaleFactor ? 1e-12
                                                                            : 1e-6;
        if (std::fabs(OurValue(ours, id) - value) > tolerance)
            problems.push_back("parameter " + std::to_string(static_cast<int>(id)) + " ours " +
                               std::to_string(OurValue(ours, id)) + " PROJ " +
                               std::to_string(value));
    }
    // Whatever we set that PROJ does not know about must be a default or implied value.
    constexpr ProjectionParameterID kNumeric[] = {
        ProjectionParameterID::XOrg,    ProjectionParameterID::YOrg,
        ProjectionParameterID::Lon0,    ProjectionParameterID::Lon1,
        ProjectionParameterID::Lon2,    ProjectionParameterID::Lat0,
        ProjectionParameterID::Lat1,    ProjectionParameterID::Lat2,
        ProjectionParameterID::Azimuth, ProjectionParameterID::GridAngle,
        ProjectionParameterID::Height,  ProjectionParameterID::ScaleFactor};
    for (ProjectionParameterID id : kNumeric) {
        const double neutral = id == ProjectionParameterID::ScaleFactor ? 1.0 : 0.0;
        if (!view.params.count(id) && OurValue(ours, id) != neutral && !IsDerived(ours, id, view))
            problems.push_back("parameter " + std::to_string(static_cast<int>(id)) + " = " +
                               std::to_string(OurValue(ours, id)) + " unknown to PROJ");
    }
    for (const std::string &name : view.unmapped)
        problems.push_back("PROJ parameter \"" + name + "\" has no counterpart");
}

void CompareDatum(const gcs::GCSDef &ours, const ProjView &view,
                  std::vector<std::string> &problems) {
    const gcs::DatumDef *datum = ours.GetDatum();
    if (!datum) {
        problems.push_back("no datum");
        return;
    }
    const gcs::EllipsoidDef &e = datum->GetEllipsoid();
    if (std::fabs(e.GetMajorRadius() - view.major) > 1e-6 ||
        std::fabs(e.GetMinorRadius() - view.minor) > 1e-6)
        problems.push_back("ellipsoid " + std::to_string(e.GetMajorRadius()) + "/" +
                           std::to_string(e.GetMinorRadius()) + " PROJ " +
                           std::to_string(view.major) + "/" + std::to_string(view.minor));
    const double meridian = datum->GetParameter(gcs::DatumParameterID::PrimeMeridian);
    if (std::fabs(meridian - view.primeMeridian) > 1e-9)
        problems.push_back("prime meridian " + std::to_string(meridian) + " PROJ " +
                           std::to_string(view.primeMeridian));
    if (datum->GetPOSC() != 0 && view.datumCode != 0 && datum->GetPOSC() != view.datumCode)
        problems.push_back("datum code " + std::to_string(datum->GetPOSC()) + " PROJ " +
                           std::to_string(view.datumCode));
    if (!view.towgs84)
        return;
    const bool seven = datum->GetMethod() == gcs::DatumMethod::SevenParameter;
    if (!seven && datum->GetMethod() != gcs::DatumMethod::ThreeParameter)
        problems.push_back("TOWGS84 not read");
    for (int i = 0; i < 7; ++i) {
        const auto id =
            static_cast<gcs::DatumParameterID>(static_cast<int>(gcs::DatumParameterID::ShiftX) + i);
        if (std::fabs(datum->GetParameter(id) - (*view.towgs84)[static_cast<size_t>(i)]) > 1e-9)
            problems.push_back("TOWGS84 value " + std::to_string(i + 1) + " differs");
    }
}

// PROJ writes EPSG methods that WKT 1 has no name for under their EPSG names, which it
// does not read back: such a method comes back without a code and with the underscores
// of the WKT name, where PROJ's own method names have spaces.
bool ProjUnderstoodMethod(const ProjView &view) {
    return !view.projected || !view.methodCode.empty() ||
           view.methodName.find('_') == std::string::npos;
}

// Compares our conversion of wkt with PROJ's; returns the problems found. understood is
// cleared when PROJ could not make sense of the text itself.
std::vector<std::string> CompareWithProj(PJ_CONTEXT *ctx, const std::string &wkt, gcs::GCSDef &ours,
                                         bool &understood) {
    understood = true;
    std::wstring message;
    if (!gcsfile::ConvertWktToGCSDef(wkt, ours, &message))
        return {"not converted: " + shr::WtoA(message)};
    const std::optional<ProjView> view = ReadWithProj(ctx, wkt);
    understood = view && ProjUnderstoodMethod(*view);
    if (!understood)
        return {};
    std::vector<std::string> problems;
    const gcs::ProjectionParameters &p = ours.GetProjection()->GetParameters();
    if (view->projected) {
        const std::set<std::string> expected = ExpectedProjMethods(p);
        if (!expected.count(view->methodCode) && !expected.count(view->methodName))
            problems.push_back("method " + std::to_string(static_cast<int>(p.method)) +
                               " but PROJ has " + view->methodCode + " " + view->methodName);
        CompareParameters(p, *view, problems);
        const double ourMetres = 1.0 / p.linearScale;
        if (std::fabs(ourMetres - view->metresPerUnit) > 1e-12 * view->metresPerUnit)
            problems.push_back("unit " + std::to_string(ourMetres) + " m, PROJ " +
                               std::to_string(view->metresPerUnit));
    } else if (p.method != ProjectionMethod::Geographic) {
        problems.push_back("not geographic");
    }
    CompareDatum(ours, *view, problems);
    return problems;
}

// For what PROJ cannot read back: the projection of the EPSG list's entry for the same
// code (the datum is not compared: ESRI's WKT does not carry the shift to WGS 84).
std::vector<std::string> CompareWithList(const gcs::GCSDef &ours, int code) {
    const gcs::CSList &list = gcs::GCSKnownSystemsList;
    const int index = list.FindByPOSCNumber(code);
    const gcs::GCSDef *entry = index >= list.First() ? list.GetSystem(index) : nullptr;
    if (!entry || !entry->GetProjection() || !ours.GetProjection())
        return {"neither PROJ nor the EPSG list can check it"};
    std::wstring difference;
    if (ours.GetProjection()->CompareParameters(*entry->GetProjection(), true, &difference))
        return {};
    return {"differs from the EPSG list: " + shr::WtoA(difference)};
}

std::string CrsWkt(PJ_CONTEXT *ctx, const PJ *crs, PJ_WKT_TYPE type) {
    const char *options[] = {"MULTILINE=NO", nullptr};
    const char *text = proj_as_wkt(ctx, crs, type, options);
    return text ? text : "";
}

struct Tally {
    std::map<int, int> methodsSeen; // our method value -> cases
    std::vector<std::string> failures;
    int cases = 0;
    int checkedByList = 0;

    // code: the EPSG code the text was written from, 0 for none.
    void Check(PJ_CONTEXT *ctx, const std::string &label, const std::string &wkt, int code) {
        if (wkt.empty())
            return;
        ++cases;
        gcs::GCSDef ours;
        bool understood = true;
        std::vector<std::string> problems = CompareWithProj(ctx, wkt, ours, understood);
        if (!understood) {
            problems = CompareWithList(ours, code);
            ++checkedByList;
        }
        if (const gcs::ProjectionDef *projection = ours.GetProjection())
            ++methodsSeen[static_cast<int>(projection->GetMethod())];
        for (const std::string &problem : problems)
            failures.push_back(label + ": " + problem + "\n    " + wkt);
    }
    std::string Report() const {
        std::string text =
            std::to_string(failures.size()) + " problems in " + std::to_string(cases) + " cases\n";
        for (size_t i = 0; i < failures.size() && i < 25; ++i)
            text += failures[i] + "\n";
        return text;
    }
};

// EPSG methods whose systems the library leaves out; their WKT must be refused.
const std::set<std::string> kLeftOutMethods = {"9824", "9816", "1111"};

std::string ConversionMethodCode(PJ_CONTEXT *ctx, const PJ *crs) {
    PjPtr op(proj_crs_get_coordoperation(ctx, crs));
    const char *auth = nullptr, *code = nullptr;
    if (!op || !proj_coordoperation_get_method_info(ctx, op.get(), nullptr, &auth, &code))
        return {};
    return code ? code : "";
}

// One EPSG system written both ways.
struct EpsgCase {
    int code = 0;
    std::string method; // EPSG method code of its conversion, empty for geographic systems
    std::string ogc, esri;
};

std::vector<EpsgCase> ReadEpsgCases(PJ_CONTEXT *ctx, PJ_TYPE type) {
    std::vector<EpsgCase> cases;
    PROJ_STRING_LIST codes = proj_get_codes_from_database(ctx, "EPSG", type, 0);
    for (int i = 0; codes && codes[i]; ++i) {
        PjPtr crs(proj_create_from_database(ctx, "EPSG", codes[i], PJ_CATEGORY_CRS, 0, nullptr));
        if (!crs)
            continue;
        EpsgCase c;
        c.code = std::atoi(codes[i]);
        if (type == PJ_TYPE_PROJECTED_CRS)
            c.method = ConversionMethodCode(ctx, crs.get());
        c.ogc = CrsWkt(ctx, crs.get(), PJ_WKT1_GDAL);
        c.esri = CrsWkt(ctx, crs.get(), PJ_WKT1_ESRI);
        cases.push_back(std::move(c));
    }
    proj_string_list_destroy(codes);
    return cases;
}

// Reading WKT through PROJ takes milliseconds, so PROJ sees a sample: the first systems of
// every method and every 15th system besides. Our own reading sees every system.
std::vector<const EpsgCase *> Sample(const std::vector<EpsgCase> &cases) {
    std::map<std::string, int> perMethod;
    std::vector<const EpsgCase *> sample;
    for (size_t i = 0; i < cases.size(); ++i) {
        if (++perMethod[cases[i].method] <= 6 || i % 15 == 0)
            sample.push_back(&cases[i]);
    }
    return sample;
}

class WktPeer : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        projected_ = new std::vector<EpsgCase>(ReadEpsgCases(ctx(), PJ_TYPE_PROJECTED_CRS));
        geographic_ = new std::vector<EpsgCase>(ReadEpsgCases(ctx(), PJ_TYPE_GEOGRAPHIC_2D_CRS));
    }
    static void TearDownTestSuite() {
        delete projected_;
        delete geographic_;
    }
    static PJ_CONTEXT *ctx() { return peer::proj::Context(); }

    static std::vector<EpsgCase> *projected_;
    static std::vector<EpsgCase> *geographic_;
};

std::vector<EpsgCase> *WktPeer::projected_ = nullptr;
std::vector<EpsgCase> *WktPeer::geographic_ = nullptr;

// WKT 1 cannot say everything EPSG does. These differences from the EPSG list come from
// the text, not from reading it: a UTM zone under its own conversion code (the list has
// transverse Mercator, we see the UTM values), the modified azimuthal equidistant and the
// spherical Lambert azimuthal written under their plain names, and a Krovak without AXIS
// nodes, which WKT 1 takes as east and north.
bool ExplainedByWkt1(const gcs::GCSDef &ours, const gcs::GCSDef &entry) {
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
    return adjusted.Compare(entry, true, nullptr);
}

} // namespace

TEST_F(WktPeer, EpsgProjectedSystemsReadAsProjReadsThem) {
    Tally tally;
    int refused = 0;
    for (const EpsgCase *c : Sample(*projected_)) {
        const std::string label = "EPSG:" + std::to_string(c->code) + " method " + c->method;
        for (const std::string *wkt : {&c->ogc, &c->esri}) {
            if (kLeftOutMethods.count(c->method)) {
                gcs::GCSDef ours;
                std::wstring why;
                if (!wkt->empty() && gcsfile::ConvertWktToGCSDef(*wkt, ours, &why))
                    tally.failures.push_back(label + ": read although the method is left out");
                refused += !wkt->empty() && !why.empty();
                continue;
            }
            tally.Check(ctx(), label + (wkt == &c->ogc ? " OGC" : " ESRI"), *wkt, c->code);
        }
    }
    EXPECT_TRUE(tally.failures.empty()) << tally.Report();
    EXPECT_GT(tally.cases, 500);
    EXPECT_GT(refused, 0);
    // Every method that has EPSG systems PROJ writes in WKT 1.
    for (ProjectionMethod method : {ProjectionMethod::TransverseMercator,
                                    ProjectionMethod::UTM,
                                    ProjectionMethod::TransverseMercatorSouth,
                                    ProjectionMethod::LambertConformalConic1SP,
                                    ProjectionMethod::LambertConformalConic2SP,
                                    ProjectionMethod::LambertConformalConicBelgium,
                                    ProjectionMethod::LambertConformalConicMichigan,
                                    ProjectionMethod::LambertConformalConicWest,
                                    ProjectionMethod::LambertConicNearConformal,
                                    ProjectionMethod::AlbersEqualArea,
                                    ProjectionMethod::CassiniSoldner,
                                    ProjectionMethod::Stereographic,
                                    ProjectionMethod::HotineObliqueMercator,
                                    ProjectionMethod::LabordeObliqueMercator,
                                    ProjectionMethod::LambertAzimuthalEqualArea,
                                    ProjectionMethod::Mercator,
                                    ProjectionMethod::PseudoMercator,
                                    ProjectionMethod::Polyconic,
                                    ProjectionMethod::Krovak,
                                    ProjectionMethod::ColombiaUrban,
                                    ProjectionMethod::EqualEarth,
                                    ProjectionMethod::Equirectangular,
                                    ProjectionMethod::CylindricalEqualArea,
                                    ProjectionMethod::Bonne,
                                    ProjectionMethod::NewZealandMapGrid,
                                    ProjectionMethod::AzimuthalEquidistant})
        EXPECT_GT(tally.methodsSeen[static_cast<int>(method)], 0)
            << shr::WtoA(gcs::ProjectionMethodName(method));
    std::cout << tally.cases << " WKT strings compared with PROJ, " << tally.checkedByList
              << " that PROJ cannot read back compared with the EPSG list\n";
}

// Every EPSG projected system in OGC WKT, read by us, is the system the EPSG list holds.
TEST_F(WktPeer, OgcWktOfEveryEpsgProjectedSystemMatchesTheList) {
    const gcs::CSList &list = gcs::GCSKnownSystemsList;
    std::vector<std::string> failures;
    int compared = 0;
    for (const EpsgCase &c : *projected_) {
        const int index = list.FindByPOSCNumber(c.code);
        if (index < list.First() || c.ogc.empty())
            continue; // left out of the list, or no WKT 1 form
        const gcs::GCSDef *entry = list.GetSystem(index);
        ++compared;
        gcs::GCSDef ours;
        std::wstring why;
        if (!gcsfile::ConvertWktToGCSDef(c.ogc, ours, &why))
            failures.push_back(std::to_string(c.code) + ": " + shr::WtoA(why));
        else if (ours.GetPOSC() != c.code)
            failures.push_back(std::to_string(c.code) + ": code " + std::to_string(ours.GetPOSC()));
        else if (!ours.Compare(*entry, true, &why) && !ExplainedByWkt1(ours, *entry))
            failures.push_back(std::to_string(c.code) + ": " + shr::WtoA(why));
    }
    EXPECT_GT(compared, 4000);
    std::string report;
    for (size_t i = 0; i < failures.size() && i < 20; ++i)
        report += failures[i] + "\n";
    EXPECT_TRUE(failures.empty()) << failures.size() << " differ:\n" << report;
}

TEST_F(WktPeer, EpsgGeographicSystemsReadAsProjReadsThem) {
    Tally tally;
    std::vector<std::string> listFailures;
    const gcs::CSList &list = gcs::GCSKnownSystemsList;
    for (size_t i = 0; i < geographic_->size(); ++i) {
        const EpsgCase &c = (*geographic_)[i];
        const std::string label = "EPSG:" + std::to_string(c.code);
        if (i % 10 == 0 || c.code == 4326 || c.code == 4807 || c.code == 4818 || c.code == 4901) {
            tally.Check(ctx(), label + " OGC", c.ogc, c.code);
            tally.Check(ctx(), label + " ESRI", c.esri, c.code);
        }
        const int index = list.FindByPOSCNumber(c.code);
        const gcs::GCSDef *entry = index >= list.First() ? list.GetSystem(index) : nullptr;
        gcs::GCSDef ours;
        std::wstring why;
        if (entry && !c.ogc.empty() &&
            !(gcsfile::ConvertWktToGCSDef(c.ogc, ours, &why) && ours.Compare(*entry, true, &why)))
            listFailures.push_back(label + ": " + shr::WtoA(why));
    }
    EXPECT_TRUE(tally.failures.empty()) << tally.Report();
    EXPECT_GT(tally.cases, 100);
    EXPECT_EQ(tally.methodsSeen[static_cast<int>(ProjectionMethod::Geographic)], tally.cases);
    std::string report;
    for (size_t i = 0; i < listFailures.size() && i < 20; ++i)
        report += listFailures[i] + "\n";
    EXPECT_TRUE(listFailures.empty()) << listFailures.size() << " differ from the EPSG list:\n"
                                      << report;
}

// Methods without EPSG systems, from PROJ strings.
TEST_F(WktPeer, MethodsWithoutEpsgSystemsReadAsProjReadsThem) {
    const char *definitions[] = {
        "+proj=robin +lon_0=10 +x_0=1000 +y_0=2000 +datum=WGS84",
        "+proj=sinu +lon_0=10 +datum=WGS84",
        "+proj=mill +lon_0=10 +datum=WGS84",
        "+proj=vandg +lon_0=10 +R=6371000",
        "+proj=gnom +lat_0=30 +lon_0=20 +x_0=50 +datum=WGS84",
        "+proj=ortho +lat_0=30 +lon_0=20 +datum=WGS84",
        "+proj=eqdc +lat_0=10 +lon_0=20 +lat_1=30 +lat_2=50 +datum=NAD83 +units=us-ft",
        "+proj=aeqd +lat_0=30 +lon_0=20 +datum=WGS84",
        "+proj=omerc +lat_0=40 +lat_1=30 +lon_1=-10 +lat_2=50 +lon_2=10 +k=0.9996 +datum=WGS84",
        "+proj=eqearth +lon_0=10 +datum=WGS84",
        "+proj=bonne +lat_1=40 +lon_0=10 +datum=WGS84",
        "+proj=cea +lat_ts=30 +lon_0=10 +ellps=GRS80",
        "+proj=merc +lat_ts=20 +lon_0=10 +datum=WGS84 +units=ft",
        "+proj=eqc +lat_ts=20 +lon_0=10 +datum=WGS84",
        "+proj=stere +lat_0=-90 +lat_ts=-70 +lon_0=30 +datum=WGS84",
        "+proj=utm +zone=33 +south +ellps=intl +towgs84=-87,-98,-121",
        "+proj=tmerc +lat_0=0 +lon_0=9 +k=0.9996 +x_0=500000 +y_0=0 +ellps=bessel "
        "+towgs84=598.1,73.7,418.2,0.202,0.045,-2.455,6.7 +pm=ferro",
    };
    Tally tally;
    for (const char *definition : definitions) {
        PjPtr crs(proj_create(ctx(), (std::string(definition) + " +type=crs").c_str()));
        ASSERT_NE(crs, nullptr) << definition;
        tally.Check(ctx(), std::string(definition) + " OGC", CrsWkt(ctx(), crs.get(), PJ_WKT1_GDAL),
                    0);
        tally.Check(ctx(), std::string(definition) + " ESRI",
                    CrsWkt(ctx(), crs.get(), PJ_WKT1_ESRI), 0);
    }
    EXPECT_TRUE(tally.failures.empty()) << tally.Report();
    for (ProjectionMethod method :
         {ProjectionMethod::Robinson, ProjectionMethod::Sinusoidal,
          ProjectionMethod::MillerCylindrical, ProjectionMethod::VanDerGrinten,
          ProjectionMethod::Gnomonic, ProjectionMethod::Orthographic,
          ProjectionMethod::EquidistantConic, ProjectionMethod::AzimuthalEquidistant,
          ProjectionMethod::HotineObliqueMercatorTwoPoint, ProjectionMethod::EqualEarth})
        EXPECT_GT(tally.methodsSeen[static_cast<int>(method)], 0)
            << shr::WtoA(gcs::ProjectionMethodName(method));
}

// TOWGS84 comes with systems bound to WGS 84; PROJ picks the EPSG transformation.
TEST_F(WktPeer, Towgs84OfBoundSystemsReadsAsProjReadsIt) {
    Tally tally;
    int withShift = 0;
    // Geographic and projected systems whose datum has one transformation to WGS 84, three
    // and seven parameters, on Greenwich and on Paris.
    for (int code : {4121, 4124, 4127, 4133, 4134, 4143, 4149, 4150, 4204, 4314, 4807, 31467, 2154,
                     2056, 25832}) {
        PjPtr crs(proj_create_from_database(ctx(), "EPSG", std::to_string(code).c_str(),
                                            PJ_CATEGORY_CRS, 0, nullptr));
        ASSERT_NE(crs, nullptr) << code;
        PjPtr bound(proj_crs_create_bound_crs_to_WGS84(ctx(), crs.get(), nullptr));
        if (!bound)
            continue;
        const std::string wkt = CrsWkt(ctx(), bound.get(), PJ_WKT1_GDAL);
        withShift += wkt.find("TOWGS84") != std::string::npos;
        tally.Check(ctx(), "EPSG:" + std::to_string(code) + " bound", wkt, code);
    }
    EXPECT_TRUE(tally.failures.empty()) << tally.Report();
    EXPECT_GE(withShift, 14);
}
