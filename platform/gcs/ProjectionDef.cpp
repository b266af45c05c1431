// ProjectionDef: completeness, validation and comparison of a projection.
#include "gcs/ProjectionDef.h"

#include <cmath>

#include "Comparison.h"
#include "shr/Format.h"

namespace gcs {
namespace {

using ID = ProjectionParameterID;

struct NamedValue {
    const wchar_t *name;
    double value;
};

bool ValidateValues(const ProjectionParameters &p, std::wstring &problem) {
    const NamedValue values[] = {{L"LinearScale", p.linearScale},
                                 {L"XOrg", p.xOrg},
                                 {L"YOrg", p.yOrg},
                                 {L"Lon0", p.lon0},
                                 {L"Lon1", p.lon1},
                                 {L"Lon2", p.lon2},
                                 {L"Lat0", p.lat0},
                                 {L"Lat1", p.lat1},
                                 {L"Lat2", p.lat2},
                                 {L"ScaleFactor", p.scaleFactor},
                                 {L"Azimuth", p.azimuth},
                                 {L"GridAngle", p.gridAngle},
                                 {L"Height", p.height}};
    for (const NamedValue &v : values) {
        if (!std::isfinite(v.value)) {
            problem = shr::FormatString(L"%ls is not finite", v.name);
            return false;
        }
    }
    for (const NamedValue &v : {values[6], values[7], values[8]}) {
        if (std::fabs(v.value) > 90.0) {
            problem = shr::FormatString(L"%ls %.17g is outside [-90, 90]", v.name, v.value);
            return false;
        }
    }
    return true;
}

bool ValidateScalesAndFlags(const ProjectionParameters &p, std::wstring &problem) {
    if (p.linearScale < 0.0)
        problem = shr::FormatString(L"linear scale %.17g is negative", p.linearScale);
    else if (!(p.scaleFactor > 0.0))
        problem = shr::FormatString(L"scale factor %.17g is not positive", p.scaleFactor);
    else if ((p.option & ~ProjectionOption::AllBits) != 0)
        problem = shr::FormatString(L"option word 0x%X has unknown bits",
                                    static_cast<unsigned>(p.option));
    else if (p.south != 0 && p.south != 1)
        problem = shr::FormatString(L"south flag %d is neither 0 nor 1", p.south);
    return problem.empty();
}

bool CompareValues(const ProjectionParameters &a, const ProjectionParameters &b,
                   Comparison &compare) {
    const double scaleA = a.linearScale == 0.0 ? 1.0 : a.linearScale;
    const double scaleB = b.linearScale == 0.0 ? 1.0 : b.linearScale;
    return compare.Scale(L"linear scale", scaleA, scaleB) &&
           compare.Length(L"false easting", a.xOrg, b.xOrg) &&
           compare.Length(L"false northing", a.yOrg, b.yOrg) &&
           compare.Longitude(L"Lon0", a.lon0, b.lon0) &&
           compare.Longitude(L"Lon1", a.lon1, b.lon1) &&
           compare.Longitude(L"Lon2", a.lon2, b.lon2) && compare.Angle(L"Lat0", a.lat0, b.lat0) &&
           compare.Angle(L"Lat1", a.lat1, b.lat1) && compare.Angle(L"Lat2", a.lat2, b.lat2) &&
           compare.Scale(L"scale factor", a.scaleFactor, b.scaleFactor) &&
           compare.Angle(L"azimuth", a.azimuth, b.azimuth) &&
           compare.Angle(L"grid angle", a.gridAngle, b.gridAngle) &&
           compare.Length(L"height", a.height, b.height);
}

} // namespace

bool ProjectionDef::IsUnknown(bool requireEllipsoid) const {
    if (params_.method == ProjectionMethod::Unknown)
        return true;
    return requireEllipsoid && MethodNeedsEllipsoid(params_.method) &&
           params_.ellipsoid.IsUnknown();
}

bool ProjectionDef::Validate(std::wstring *why) const {
    std::wstring problem;
    std::wstring ellipsoidProblem;
    if (!IsValidProjectionMethod(static_cast<int32_t>(params_.method))) {
        problem = shr::FormatString(L"projection method %d does not exist",
                                    static_cast<int>(params_.method));
    } else if (ValidateValues(params_, problem) && ValidateScalesAndFlags(params_, problem) &&
               !params_.ellipsoid.IsUnknown() && !params_.ellipsoid.IsValid(&ellipsoidProblem)) {
        problem = L"ellipsoid: " + ellipsoidProblem;
    }
    if (why)
        *why = problem;
    return problem.empty();
}

bool ProjectionDef::CompareParameters(const ProjectionDef &other, bool approximate,
                                      std::wstring *difference) const {
    const ProjectionParameters &a = params_;
    const ProjectionParameters &b = other.params_;
    Comparison compare(approximate, difference);
    if (!compare.Integer(L"projection method", static_cast<int>(a.method),
                         static_cast<int>(b.method)) ||
        !compare.Integer(L"option word", a.option, b.option) ||
        !compare.Integer(L"south flag", a.south, b.south) || !CompareValues(a, b, compare))
        return false;
    if (!a.ellipsoid.CompareParameters(b.ellipsoid, approximate))
        return compare.Fail(L"ellipsoid differs: " + DescribeEllipsoid(a.ellipsoid) + L" and " +
                            DescribeEllipsoid(b.ellipsoid));
    return true;
}

} // namespace gcs
