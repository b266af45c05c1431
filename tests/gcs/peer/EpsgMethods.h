// The generator's EPSG method and parameter tables, read from its output so that the peer
// tests check PROJ against the same mapping the known lists were built with.
#pragma once
#include "gcs/ProjectionDef.h"

#include <map>

namespace epsgmethods {

enum class Kind { angle, length, scale };

struct Form {
    gcs::ProjectionMethod method;
    int32_t option;
};

struct Slot {
    gcs::ProjectionParameterID id;
    Kind kind;
};

inline const std::map<int, Form> &Methods() {
    namespace O = gcs::ProjectionOption;
    static const std::map<int, Form> methods = {
#define EPSG_METHOD(code, method, options) {code, {gcs::ProjectionMethod::method, options}},
#define EPSG_PARAMETER(code, id, kind)
#include "epsg_methods.inc"
#undef EPSG_METHOD
#undef EPSG_PARAMETER
    };
    return methods;
}

inline const std::map<int, Slot> &Parameters() {
    static const std::map<int, Slot> parameters = {
#define EPSG_METHOD(code, method, options)
#define EPSG_PARAMETER(code, id, kind) {code, {gcs::ProjectionParameterID::id, Kind::kind}},
#include "epsg_methods.inc"
#undef EPSG_METHOD
#undef EPSG_PARAMETER
    };
    return parameters;
}

} // namespace epsgmethods
