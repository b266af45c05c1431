// ProjectionDef: a projection method with its parameters, in degrees and metres.
#pragma once
#include <cstdint>
#include <string>

#include "gcs/EllipsoidDef.h"
#include "gcs/ProjectionMethod.h"

namespace gcs {

// Parameter ids, stored in files: never renumber.
enum class ProjectionParameterID : int32_t {
    Method = 1,      // a ProjectionMethod value
    Ellipsoid = 2,   // not a number: GetEllipsoid / SetEllipsoid
    LinearScale = 3, // units of the projected coordinates per metre, 0 meaning metres;
                     // Geographic: axis units per degree (10/9 for grads)
    XOrg = 4,        // false easting, metres
    YOrg = 5,        // false northing, metres
    Lon0 = 6,        // longitude of origin (or of the projection centre)
    Lon1 = 7,        // a second longitude (two-point and spherical oblique Mercator)
    Lon2 = 8,        // a further longitude, or an azimuth, for the same forms
    Lat0 = 9,        // latitude of origin (or of the projection centre, or false origin)
    Lat1 = 10,       // first standard parallel, or latitude of true scale
    Lat2 = 11,       // second standard parallel
    ScaleFactor = 12,
    Azimuth = 13,   // azimuth of the centre line; Krovak: co-latitude of the cone axis
    South = 14,     // 1 for a southern-hemisphere UTM zone, else 0
    Option = 15,    // ProjectionOption bits
    GridAngle = 16, // Hotine oblique Mercator: rectified grid angle
    Height = 17,    // Colombia urban: height of the projection plane origin, metres
};

// The values of a projection. Angles are degrees; longitudes are east of the datum's prime
// meridian. False easting and northing are metres whatever the linear unit, which only
// scales the projected coordinates (units = metres * LinearScale).
struct ProjectionParameters {
    ProjectionMethod method = ProjectionMethod::Unknown;
    double linearScale = 1.0;
    double xOrg = 0.0, yOrg = 0.0;
    double lon0 = 0.0, lon1 = 0.0, lon2 = 0.0;
    double lat0 = 0.0, lat1 = 0.0, lat2 = 0.0;
    double scaleFactor = 1.0;
    double azimuth = 0.0;
    int32_t south = 0;
    int32_t option = 0;
    double gridAngle = 0.0;
    double height = 0.0;
    EllipsoidDef ellipsoid;

    // By id. Get returns 0.0 for Ellipsoid and unknown ids. Set returns false, changing
    // nothing, for Ellipsoid, unknown ids, and for Method, South and Option values that are
    // not whole numbers (a method must also be a ProjectionMethod value).
    double Get(ProjectionParameterID id) const;
    bool Set(ProjectionParameterID id, double value);

    bool operator==(const ProjectionParameters &) const = default;
};

class ProjectionDef {
public:
    ProjectionDef() = default;
    explicit ProjectionDef(ProjectionMethod method) { params_.method = method; }
    explicit ProjectionDef(const ProjectionParameters &params) : params_(params) {}

    ProjectionMethod GetMethod() const { return params_.method; }
    void SetMethod(ProjectionMethod method) { params_.method = method; }

    const ProjectionParameters &GetParameters() const { return params_; }
    void GetParameters(ProjectionParameters &params) const { params = params_; }
    void SetParameters(const ProjectionParameters &params) { params_ = params; }
    double GetParameter(ProjectionParameterID id) const { return params_.Get(id); }
    bool SetParameter(ProjectionParameterID id, double value) { return params_.Set(id, value); }

    const EllipsoidDef &GetEllipsoid() const { return params_.ellipsoid; }
    void SetEllipsoid(const EllipsoidDef &ellipsoid) { params_.ellipsoid = ellipsoid; }

    // Back to a fresh, unknown projection.
    void Clear() { *this = ProjectionDef(); }

    // The method is Unknown; with requireEllipsoid, also when the method needs an ellipsoid
    // and has none (MethodNeedsEllipsoid).
    bool IsUnknown(bool requireEllipsoid) const;

    // What a coordinate system refuses (GCSDef::SetProjection): a method value that is not a
    // ProjectionMethod, a value that is not finite, a negative linear scale, a scale factor
    // that is not positive, latitudes outside [-90, 90], option
    // bits that do not exist, South other than 0 or 1, and an ellipsoid that is present
    // (major radius set) but not valid. An Unknown projection is valid. why (optional) says
    // what is wrong.
    bool Validate(std::wstring *why = nullptr) const;

    // Same method and parameters, names ignored. Linear scale 0 counts as 1. Only what the
    // method reads is compared (MethodUsesParameter, MethodOptionBits): a Geographic
    // projection's ellipsoid is left to the datum. approximate:
    // angles within 1e-9 degree, lengths within 1 mm, scales within 1e-10 relative, and
    // ellipsoids by EllipsoidDef::CompareParameters(…, true); otherwise exact. difference
    // (optional) receives a description of the first difference.
    bool CompareParameters(const ProjectionDef &other, bool approximate,
                           std::wstring *difference = nullptr) const;

    bool operator==(const ProjectionDef &) const = default;

private:
    ProjectionParameters params_;
};

} // namespace gcs
