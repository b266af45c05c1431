// DatumDef: parameters by id, validation and comparison.
#include "gcs/DatumDef.h"

#include <cmath>

#include "Comparison.h"
#include "shr/Format.h"

namespace gcs {
namespace {

using ID = DatumParameterID;

bool IsWholeNumber(double value) {
    return std::isfinite(value) && value == std::trunc(value) && std::fabs(value) < 2147483648.0;
}

// How many of the seven shift values the method uses.
int ShiftCount(DatumMethod method) {
    switch (method) {
    case DatumMethod::ThreeParameter:
        return 3;
    case DatumMethod::SevenParameter:
        return 7;
    default:
        return 0;
    }
}

} // namespace

bool IsValidDatumMethod(int32_t value) { return value >= 0 && value <= 3; }

void DatumDef::SetMethod(DatumMethod method, bool clearParameters) {
    if (clearParameters)
        *this = DatumDef();
    method_ = method;
}

bool DatumDef::SetParameter(DatumParameterID id, double value) {
    const int index = static_cast<int>(id);
    if (id == ID::UserDefined) {
        if (!IsWholeNumber(value))
            return false;
        userDefined_ = static_cast<int32_t>(value);
    } else if (id == ID::PrimeMeridian) {
        primeMeridian_ = value;
    } else if (index >= static_cast<int>(ID::ShiftX) && index <= static_cast<int>(ID::ShiftZ)) {
        shift_[index - static_cast<int>(ID::ShiftX)] = value;
    } else if (index >= static_cast<int>(ID::RotationX) &&
               index <= static_cast<int>(ID::RotationZ)) {
        rotation_[index - static_cast<int>(ID::RotationX)] = value;
    } else if (id == ID::Scale) {
        scale_ = value;
    } else {
        return false;
    }
    return true;
}

double DatumDef::GetParameter(DatumParameterID id) const {
    const int index = static_cast<int>(id);
    if (id == ID::Method)
        return static_cast<double>(method_);
    if (id == ID::UserDefined)
        return static_cast<double>(userDefined_);
    if (id == ID::PrimeMeridian)
        return primeMeridian_;
    if (index >= static_cast<int>(ID::ShiftX) && index <= static_cast<int>(ID::ShiftZ))
        return shift_[index - static_cast<int>(ID::ShiftX)];
    if (index >= static_cast<int>(ID::RotationX) && index <= static_cast<int>(ID::RotationZ))
        return rotation_[index - static_cast<int>(ID::RotationX)];
    if (id == ID::Scale)
        return scale_;
    return 0.0;
}

bool DatumDef::SetParameter(DatumParameterID id, const EllipsoidDef &ellipsoid) {
    if (id != ID::Ellipsoid)
        return false;
    ellipsoid_ = ellipsoid;
    return true;
}

bool DatumDef::Validate(std::wstring *why) const {
    std::wstring problem;
    const double values[] = {primeMeridian_, shift_[0],    shift_[1],    shift_[2],
                             rotation_[0],   rotation_[1], rotation_[2], scale_};
    bool finite = true;
    for (double value : values)
        finite = finite && std::isfinite(value);
    std::wstring ellipsoidProblem;
    if (!IsValidDatumMethod(static_cast<int32_t>(method_)))
        problem = shr::FormatString(L"datum method %d does not exist", static_cast<int>(method_));
    else if (!finite)
        problem = L"a datum parameter is not finite";
    else if (std::fabs(primeMeridian_) > 180.0)
        problem = shr::FormatString(L"prime meridian %.17g is outside [-180, 180]", primeMeridian_);
    else if (!ellipsoid_.IsUnknown() && !ellipsoid_.IsValid(&ellipsoidProblem))
        problem = L"ellipsoid: " + ellipsoidProblem;
    if (why)
        *why = problem;
    return problem.empty();
}

bool DatumDef::CompareParameters(const DatumDef &other, bool approximate,
                                 std::wstring *difference) const {
    Comparison compare(approximate, difference);
    if (posc_ != 0 && other.posc_ != 0)
        return compare.Integer(L"datum code", posc_, other.posc_);
    if (!compare.Integer(L"datum method", static_cast<int>(method_),
                         static_cast<int>(other.method_)))
        return false;
    if (!ellipsoid_.CompareParameters(other.ellipsoid_, approximate))
        return compare.Fail(L"datum ellipsoid differs: " + DescribeEllipsoid(ellipsoid_) +
                            L" and " + DescribeEllipsoid(other.ellipsoid_));
    if (!compare.Longitude(L"prime meridian", primeMeridian_, other.primeMeridian_))
        return false;
    const int shifts = ShiftCount(method_);
    static const wchar_t *const kShiftNames[] = {L"ShiftX",    L"ShiftY",    L"ShiftZ",
                                                 L"RotationX", L"RotationY", L"RotationZ"};
    for (int i = 0; i < shifts && i < 3; ++i) {
        if (!compare.Length(kShiftNames[i], shift_[i], other.shift_[i]))
            return false;
    }
    for (int i = 3; i < shifts && i < 6; ++i) {
        if (!compare.Value(kShiftNames[i], rotation_[i - 3], other.rotation_[i - 3],
                           kRotationTolerance))
            return false;
    }
    return shifts < 7 || compare.Value(L"Scale", scale_, other.scale_, kPpmTolerance);
}

} // namespace gcs
