// Peer test: every system of the known list against PROJ's reading of the same EPSG code:
// method, parameters, datum, ellipsoid, prime meridian and unit.
#include <gtest/gtest.h>

#include <regex>
#include <string>

#include "EpsgMethods.h"
#include "gcs/KnownLists.h"
#include "shr/Strings.h"
#include "support/peer/PeerProj.h"

namespace {

namespace proj = peer::proj;

using gcs::ProjectionMethod;
using MethodForm = epsgmethods::Form;

void CompareDatum(const gcs::GCSDef &ours, const proj::Datum &peer) {
    const gcs::DatumDef &datum = *ours.GetDatum();
    EXPECT_EQ(datum.GetPOSC(), peer.code);
    const gcs::EllipsoidDef &ellipsoid = datum.GetEllipsoid();
    EXPECT_EQ(ellipsoid.GetPOSC(), peer.ellipsoid.code);
    EXPECT_NEAR(ellipsoid.GetMajorRadius(), peer.ellipsoid.major, 1e-6);
    EXPECT_NEAR(ellipsoid.GetMinorRadius(), peer.ellipsoid.minor, 1e-6);
    EXPECT_NEAR(ellipsoid.GetInverseFlattening(), peer.ellipsoid.inverseFlattening, 1e-9);
    EXPECT_NEAR(datum.GetParameter(gcs::DatumParameterID::PrimeMeridian), peer.primeMeridian,
                1e-10);
}

// Which slot the PROJ conversion fills, and the value; UTM zones also give the South flag.
MethodForm ExpectedForm(const proj::System &peer) {
    auto found = epsgmethods::Methods().find(peer.methodCode);
    if (found == epsgmethods::Methods().end())
        return {ProjectionMethod::Unknown, 0};
    static const std::regex utmZone("UTM zone [1-9][0-9]?[NS]");
    if (peer.methodCode == 9807 && std::regex_match(peer.conversionName, utmZone))
        return {ProjectionMethod::UTM, 0};
    return found->second;
}

void CompareProjection(const gcs::ProjectionParameters &ours, const proj::System &peer) {
    const MethodForm form = ExpectedForm(peer);
    ASSERT_NE(form.method, ProjectionMethod::Unknown) << "PROJ method " << peer.methodCode;
    EXPECT_EQ(static_cast<int>(ours.method), static_cast<int>(form.method));
    EXPECT_EQ(ours.option, form.option);
    EXPECT_NEAR(1.0 / ours.linearScale, peer.metresPerUnit, 1e-15 * peer.metresPerUnit);
    if (ours.method == ProjectionMethod::UTM) {
        EXPECT_EQ(ours.south, peer.conversionName.back() == 'S' ? 1 : 0);
    }
    epsgmethods::ExpectParameters(ours, peer);
}

TEST(EpsgSystemsPeer, EverySystemAgreesWithProj) {
    const gcs::CSList &list = gcs::GCSKnownSystemsList;
    for (int i = list.First(); i <= list.Last(); ++i) {
        const gcs::GCSDef &ours = *list.GetSystem(i);
        SCOPED_TRACE("EPSG:" + std::to_string(ours.GetPOSC()));
        const std::optional<proj::System> peer = proj::ReadSystem(ours.GetPOSC());
        ASSERT_TRUE(peer.has_value()) << "PROJ does not know it";
        EXPECT_EQ(ours.GetName(), shr::AtoW(peer->name));
        CompareDatum(ours, peer->datum);
        const gcs::ProjectionParameters &params = ours.GetProjection()->GetParameters();
        if (peer->type == PJ_TYPE_GEOGRAPHIC_2D_CRS) {
            EXPECT_EQ(static_cast<int>(params.method), 1);
            // Axis units per degree times radians per axis unit: radians per degree.
            EXPECT_NEAR(params.linearScale * peer->metresPerUnit, 0.017453292519943295, 1e-15);
            continue;
        }
        ASSERT_EQ(peer->type, PJ_TYPE_PROJECTED_CRS);
        CompareProjection(params, *peer);
        if (::testing::Test::HasFailure())
            break; // one system's differences are enough to read
    }
}

} // namespace
