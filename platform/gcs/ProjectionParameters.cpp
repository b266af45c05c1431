// ProjectionParameters: access to the values by parameter id.
#include <cmath>

#include "gcs/ProjectionDef.h"

namespace gcs {
namespace {

using ID = ProjectionParameterID;

// The double-valued members by id; null for the others.
double ProjectionParameters::*DoubleMember(ID id) {
    switch (id) {
    case ID::LinearScale:
        return &ProjectionParameters::linearScale;
    case ID::XOrg:
        return &ProjectionParameters::xOrg;
    case ID::YOrg:
        return &ProjectionParameters::yOrg;
    case ID::Lon0:
        return &ProjectionParameters::lon0;
    case ID::Lon1:
        return &ProjectionParameters::lon1;
    case ID::Lon2:
        return &ProjectionParameters::lon2;
    case ID::Lat0:
        return &ProjectionParameters::lat0;
    case ID::Lat1:
        return &ProjectionParameters::lat1;
    case ID::Lat2:
        return &ProjectionParameters::lat2;
    case ID::ScaleFactor:
        return &ProjectionParameters::scaleFactor;
    case ID::Azimuth:
        return &ProjectionParameters::azimuth;
    case ID::GridAngle:
        return &ProjectionParameters::gridAngle;
    case ID::Height:
        return &ProjectionParameters::height;
    default:
        return nullptr;
    }
}

bool IsWholeNumber(double value) {
    return std::isfinite(value) && value == std::trunc(value) && std::fabs(value) < 2147483648.0;
}

} // namespace

double ProjectionParameters::Get(ProjectionParameterID id) const {
    if (double ProjectionParameters::*member = DoubleMember(id))
        return this->*member;
    switch (id) {
    case ID::Method:
        return static_cast<double>(method);
    case ID::South:
        return static_cast<double>(south);
    case ID::Option:
        return static_cast<double>(option);
    default:
        return 0.0;
    }
}

bool ProjectionParameters::Set(ProjectionParameterID id, double value) {
    if (double ProjectionParameters::*member = DoubleMember(id)) {
        this->*member = value;
        return true;
    }
    if (id != ID::Method && id != ID::South && id != ID::Option)
        return false;
    if (!IsWholeNumber(value))
        return false;
    const auto whole = static_cast<int32_t>(value);
    if (id == ID::Method) {
        if (!IsValidProjectionMethod(whole))
            return false;
        method = static_cast<ProjectionMethod>(whole);
    } else if (id == ID::South) {
        south = whole;
    } else {
        option = whole;
    }
    return true;
}

} // namespace gcs
