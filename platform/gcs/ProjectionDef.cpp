// ProjectionDef: completeness, validation and comparison of a projection.
#include "gcs/ProjectionDef.h"

#include <cmath>

#include "Comparison.h"
#include "gcs/MethodParameters.h"
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

// How a parameter is compared: its tolerance follows its kind.
enum class Kind { Length, Longitude, Angle, Scale };

struct ComparedValue {
    ID id;
    const wchar_t *name;
    Kind kind;
};

constexpr ComparedValue kComparedValues[] = {
    {ID::LinearScale, L"linear scale", Kind::Scale},
    {ID::XOrg, L"false easting", Kind::Length},
    {ID::YOrg, L"false northing", Kind::Length},
    {ID::Lon0, L"Lon0", Kind::Longitude},
    {ID::Lon1, L"Lon1", Kind::Longitude},
    {ID::Lon2, L"Lon2", Kind::Longitude},
    {ID::Lat0, L"Lat0", Kind::Angle},
    {ID::Lat1, L"Lat1", Kind::Angle},
    {ID::Lat2, L"Lat2", Kind::Angle},
    {ID::ScaleFactor, L"scale factor", Kind::Scale},
    {ID::Azimuth, L"azimuth", Kind::Angle},
    {ID::GridAngle, L"grid angle", Kind::Angle},
    {ID::Height, L"height", Kind::Length},
};

double ComparedNumber(const ProjectionParameters &p, ID id) {
    const double value = p.Get(id);
    return id == ID::LinearScale && value == 0.0 ? 1.0 : value; // 0 means metres
}

bool CompareValue(const ComparedValue &v, double a, double b, Comparison &compare) {
    switch (v.kind) {
    case Kind::Length:
        return compare.Length(v.name, a, b);
    case Kind::Longitude:
        return compare.Longitude(v.name, a, b);
    case Kind::Angle:
        return compare.Angle(v.name, a, b);
    case Kind::Scale:
        return compare.Scale(v.name, a, b);
    }
    return false;
}

// Only the values the method reads; both sides have the same method and option bits here.
bool CompareValues(const ProjectionParameters &a, const ProjectionParameters &b,
                   Comparison &compare) {
    for (const ComparedValue &v : kComparedValues) {
        if (MethodUsesParameter(a.method, a.option, v.id) &&
            !CompareValue(v, ComparedNumber(a, v.id), ComparedNumber(b, v.id), compare))
            return false;
    }
    return true;
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
    const int32_t optionBits = MethodOptionBits(a.method);
    if (!compare.Integer(L"projection method", static_cast<int>(a.method),
                         static_cast<int>(b.method)) ||
        !compare.Integer(L"option word", a.option & optionBits, b.option & optionBits))
        return false;
    if (MethodUsesParameter(a.method, a.option, ID::South) &&
        !compare.Integer(L"south flag", a.south, b.south))
        return false;
    if (!CompareValues(a, b, compare))
        return false;
    if (MethodUsesParameter(a.method, a.option, ID::Ellipsoid) &&
        !a.ellipsoid.CompareParameters(b.ellipsoid, approximate))
        return compare.Fail(L"ellipsoid differs: " + DescribeEllipsoid(a.ellipsoid) + L" and " +
                            DescribeEllipsoid(b.ellipsoid));
    return true;
}

} // namespace gcs
