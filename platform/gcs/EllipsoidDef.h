// EllipsoidDef: the figure of the Earth (or a sphere) by its radii and flattening.
#pragma once
#include <cstdint>
#include <string>

namespace gcs {

// A plain value type. A default-constructed ellipsoid is unknown (no dimensions). An
// ellipsoid from the known list carries its EPSG code and name; one made from dimensions
// alone is custom (code 0). Radii are in metres; the flattening is (major - minor) / major.
class EllipsoidDef {
public:
    EllipsoidDef() = default;

    // Custom ellipsoids. Values are kept as given; the missing one is computed. Invalid
    // dimensions are kept too and reported by IsValid.
    static EllipsoidDef FromFlattening(double majorRadius, double flattening);
    static EllipsoidDef FromMinorRadius(double majorRadius, double minorRadius);
    static EllipsoidDef Sphere(double radius) { return FromFlattening(radius, 0.0); }
    // All three as published (a table's row); IsValid checks that they agree.
    static EllipsoidDef FromDimensions(double majorRadius, double minorRadius, double flattening);

    double GetMajorRadius() const { return major_; }
    double GetMinorRadius() const { return minor_; }
    double GetFlattening() const { return flattening_; }
    // 1 / flattening, or 0 for a sphere.
    double GetInverseFlattening() const;

    int32_t GetPOSC() const { return posc_; }
    void SetPOSC(int32_t code) { posc_ = code; }
    const std::wstring &GetName() const { return name_; }
    void SetName(const std::wstring &name) { name_ = name; }

    // No dimensions at all (all three zero), as a default-constructed ellipsoid. Any other
    // values, even invalid ones, make the ellipsoid present.
    bool IsUnknown() const { return major_ == 0.0 && minor_ == 0.0 && flattening_ == 0.0; }
    bool IsCustom() const { return posc_ == 0 && !IsUnknown(); }
    bool IsSphere() const { return !IsUnknown() && flattening_ == 0.0; }
    // Finite, positive radii, 0 <= flattening < 1 and minor = major * (1 - flattening)
    // within a millimetre. An unknown ellipsoid is not valid. why (optional) says what is
    // wrong.
    bool IsValid(std::wstring *why = nullptr) const;

    // Same dimensions; codes and names are not compared. approximate: major and minor radii
    // within 1 mm and flattening within 1e-9 (the rounding of published inverse
    // flattenings); otherwise exactly equal.
    bool CompareParameters(const EllipsoidDef &other, bool approximate) const;

    bool operator==(const EllipsoidDef &) const = default;

private:
    double major_ = 0.0;
    double minor_ = 0.0;
    double flattening_ = 0.0;
    int32_t posc_ = 0;
    std::wstring name_;
};

} // namespace gcs
