// The generator's EPSG method and parameter tables, read from its output so that the peer
// tests check PROJ against the same mapping the known lists were built with; and the
// comparison of our parameters with PROJ's through them.
#pragma once
#include "gcs/ProjectionDef.h"
#include "support/peer/PeerProj.h"

#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <set>
#include <string>

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

// Each value PROJ gives (by EPSG parameter code, or PROJ's own name for the two-point forms)
// within a tolerance by kind, longitudes modulo whole turns; nothing else but UTM's South flag
// and the pole a polar stereographic B or C implies.
inline void ExpectParameters(const gcs::ProjectionParameters &ours,
                             const peer::proj::System &peer) {
    using ID = gcs::ProjectionParameterID;
    static const std::map<std::string, ID> kProjNames = {{"Latitude of 1st point", ID::Lat1},
                                                         {"Longitude of 1st point", ID::Lon1},
                                                         {"Latitude of 2nd point", ID::Lat2},
                                                         {"Longitude of 2nd point", ID::Lon2}};
    std::set<ID> given;
    for (const peer::proj::Parameter &parameter : peer.parameters) {
        const auto code = Parameters().find(parameter.code);
        const auto name = kProjNames.find(parameter.name);
        ASSERT_TRUE(code != Parameters().end() || name != kProjNames.end()) << parameter.name;
        const Slot slot =
            code != Parameters().end() ? code->second : Slot{name->second, Kind::angle};
        given.insert(slot.id);
        const double difference = ours.Get(slot.id) - parameter.value;
        EXPECT_LE(
            std::fabs(slot.kind == Kind::angle ? std::remainder(difference, 360.0) : difference),
            slot.kind == Kind::length  ? 1e-6
            : slot.kind == Kind::scale ? 1e-12
                                       : 1e-9)
            << parameter.name << ": ours " << ours.Get(slot.id) << ", PROJ " << parameter.value;
    }
    if (ours.method == gcs::ProjectionMethod::UTM)
        given.insert(ID::South);
    namespace Option = gcs::ProjectionOption;
    if (ours.option & (Option::PolarVariantB | Option::PolarVariantC)) {
        EXPECT_EQ(ours.lat0, ours.lat1 < 0.0 ? -90.0 : 90.0); // centred on the pole
        given.insert(ID::Lat0);
    }
    const gcs::ProjectionParameters defaults;
    for (ID id : {ID::XOrg, ID::YOrg, ID::Lon0, ID::Lon1, ID::Lon2, ID::Lat0, ID::Lat1, ID::Lat2,
                  ID::ScaleFactor, ID::Azimuth, ID::South, ID::GridAngle, ID::Height})
        if (!given.count(id)) {
            EXPECT_EQ(ours.Get(id), defaults.Get(id)) << "unexpected parameter " << int(id);
        }
}

} // namespace epsgmethods
