// DatumDef: a geodetic datum, its ellipsoid, prime meridian and shift to WGS 84.
#pragma once
#include <cstdint>
#include <string>

#include "gcs/EllipsoidDef.h"

namespace gcs {

// How the datum relates to WGS 84. Values are stored: never renumber.
enum class DatumMethod : int32_t {
    Unknown = 0,
    EllipsoidOnly = 1,  // known by its ellipsoid and prime meridian; no shift to WGS 84 given
    ThreeParameter = 2, // geocentric translation (ShiftX..ShiftZ)
    SevenParameter = 3, // Helmert, position-vector rotations (as in WKT TOWGS84)
};

// Parameter ids, stored in files: never renumber.
enum class DatumParameterID : int32_t {
    Method = 1,        // read-only here: use SetMethod
    UserDefined = 2,   // integer flag: 1 when built from values rather than taken from a list
    Ellipsoid = 3,     // not a number: GetEllipsoid / SetEllipsoid
    PrimeMeridian = 4, // longitude of the prime meridian east of Greenwich, degrees
    ShiftX = 5,        // geocentric translations to WGS 84, metres
    ShiftY = 6,
    ShiftZ = 7,
    RotationX = 8, // position-vector rotations, arc-seconds
    RotationY = 9,
    RotationZ = 10,
    Scale = 11, // scale difference, parts per million
};

// True for DatumMethod values.
bool IsValidDatumMethod(int32_t value);

// A plain value type. A default-constructed datum is unknown.
class DatumDef {
public:
    DatumDef() = default;
    explicit DatumDef(DatumMethod method) : method_(method) {}

    DatumMethod GetMethod() const { return method_; }
    // clearParameters: start afresh, resetting every parameter (flag, ellipsoid, prime
    // meridian, shifts) and the code and name; otherwise they are kept.
    void SetMethod(DatumMethod method, bool clearParameters);
    bool IsUnknown() const { return method_ == DatumMethod::Unknown; }

    // Numeric parameters: UserDefined (a whole number), PrimeMeridian, ShiftX to Scale. Set
    // returns false, changing nothing, for Method, Ellipsoid, unknown ids and a UserDefined
    // value that is not a whole number. Get returns 0.0 for Ellipsoid and unknown ids, and
    // the method's value for Method.
    bool SetParameter(DatumParameterID id, double value);
    double GetParameter(DatumParameterID id) const;
    // The Ellipsoid parameter; false for any other id.
    bool SetParameter(DatumParameterID id, const EllipsoidDef &ellipsoid);

    const EllipsoidDef &GetEllipsoid() const { return ellipsoid_; }
    void SetEllipsoid(const EllipsoidDef &ellipsoid) { ellipsoid_ = ellipsoid; }
    bool IsUserDefined() const { return userDefined_ != 0; }

    int32_t GetPOSC() const { return posc_; }
    void SetPOSC(int32_t code) { posc_ = code; }
    const std::wstring &GetName() const { return name_; }
    void SetName(const std::wstring &name) { name_ = name; }

    // What a coordinate system refuses (GCSDef::SetDatum): a method value that is not a
    // DatumMethod, a value that is not finite, a prime meridian outside [-180, 180], and an
    // ellipsoid that is present (not unknown) but not valid. why (optional) says what
    // is wrong.
    bool Validate(std::wstring *why = nullptr) const;

    // Two datums with nonzero codes are the same when the codes are equal. Otherwise: same
    // method, ellipsoid (EllipsoidDef::CompareParameters), prime meridian and the shifts
    // the method uses; names and the UserDefined flag are not compared. approximate: prime
    // meridian within 1e-9 degree, shifts within 1 mm, rotations within 1e-6 arc-second,
    // scale within 1e-6 ppm; otherwise exact. difference (optional) receives a description
    // of the first difference.
    bool CompareParameters(const DatumDef &other, bool approximate,
                           std::wstring *difference = nullptr) const;

    bool operator==(const DatumDef &) const = default;

private:
    DatumMethod method_ = DatumMethod::Unknown;
    int32_t userDefined_ = 0;
    EllipsoidDef ellipsoid_;
    double primeMeridian_ = 0.0;
    double shift_[3] = {0.0, 0.0, 0.0};
    double rotation_[3] = {0.0, 0.0, 0.0};
    double scale_ = 0.0;
    int32_t posc_ = 0;
    std::wstring name_;
};

} // namespace gcs
