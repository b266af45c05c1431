// Peer test: the known lists are complete against PROJ's EPSG dataset (what is missing is
// in the generator's report), and datums, ellipsoids, units and shifts agree with PROJ.
#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <string>

#include "gcs/KnownLists.h"
#include "shr/Strings.h"
#include "support/peer/PeerProj.h"

namespace {

namespace proj = peer::proj;

using gcs::GCSKnownDatumsList;
using gcs::GCSKnownEllipsoidsList;
using gcs::GCSKnownLinearUnitsList;
using gcs::GCSKnownSystemsList;

// The report's left-out entries by section ("projected systems", "linear units", ...).
std::map<std::string, std::set<int>> LeftOut() {
    std::ifstream report(IOSID_EPSG_REPORT);
    std::map<std::string, std::set<int>> sections;
    std::string line;
    std::string section;
    const std::string marker = "# left out: ";
    while (std::getline(report, line)) {
        if (line.rfind(marker, 0) == 0) {
            section = line.substr(marker.size(), line.rfind(':') - marker.size());
            sections[section];
        } else if (!section.empty() && !line.empty()) {
            sections[section].insert(std::stoi(line));
        }
    }
    return sections;
}

TEST(EpsgListsPeer, EverySystemIsListedOrReportedLeftOut) {
    std::map<std::string, std::set<int>> leftOut = LeftOut();
    ASSERT_EQ(leftOut.count("projected systems"), 1u) << "cannot read " << IOSID_EPSG_REPORT;
    const std::pair<PJ_TYPE, const char *> kinds[] = {
        {PJ_TYPE_PROJECTED_CRS, "projected systems"},
        {PJ_TYPE_GEOGRAPHIC_2D_CRS, "geographic 2D systems"}};
    size_t total = 0;
    for (const auto &[type, section] : kinds) {
        const std::vector<int> codes = proj::Codes(type);
        total += codes.size();
        const std::set<int> &reported = leftOut[section];
        for (int code : codes) {
            const bool listed = GCSKnownSystemsList.FindByPOSCNumber(code) != 0;
            EXPECT_NE(listed, reported.count(code) == 1)
                << "EPSG:" << code << (listed ? " listed and reported" : " missing");
        }
    }
    EXPECT_EQ(total, static_cast<size_t>(GCSKnownSystemsList.Last()) +
                         leftOut["projected systems"].size() +
                         leftOut["geographic 2D systems"].size());
}

// Every geodetic datum, with its shifts where PROJ binds one of its geographic systems to WGS 84
// (the transformation PROJ picks).
TEST(EpsgListsPeer, DatumsAgree) {
    std::set<int> peerCodes;
    for (PJ_TYPE type : {PJ_TYPE_GEODETIC_REFERENCE_FRAME, PJ_TYPE_DYNAMIC_GEODETIC_REFERENCE_FRAME,
                         PJ_TYPE_DATUM_ENSEMBLE}) {
        for (int code : proj::Codes(type)) {
            proj::PjPtr datum = proj::FromDatabase(code, PJ_CATEGORY_DATUM);
            if (datum && proj::ReadEllipsoid(datum.get())) // geodetic, not vertical
                peerCodes.insert(code);
        }
    }
    std::map<int32_t, int32_t> geographicOf; // datum -> a geographic system on it
    for (int i = GCSKnownSystemsList.First(); i <= GCSKnownSystemsList.Last(); ++i) {
        const gcs::GCSDef &system = *GCSKnownSystemsList.GetSystem(i);
        if (system.GetProjection()->GetMethod() == gcs::ProjectionMethod::Geographic)
            geographicOf.emplace(system.GetDatum()->GetPOSC(), system.GetPOSC());
    }
    std::set<int> ours;
    int shifts = 0;
    for (int i = GCSKnownDatumsList.First(); i <= GCSKnownDatumsList.Last(); ++i) {
        const gcs::DatumDef &datum = *GCSKnownDatumsList.GetDatum(i);
        SCOPED_TRACE("datum EPSG:" + std::to_string(datum.GetPOSC()));
        ours.insert(datum.GetPOSC());
        proj::PjPtr object = proj::FromDatabase(datum.GetPOSC(), PJ_CATEGORY_DATUM);
        ASSERT_TRUE(object);
        const std::optional<proj::Datum> peer = proj::ReadDatum(object.get());
        ASSERT_TRUE(peer.has_value());
        EXPECT_EQ(datum.GetEllipsoid().GetPOSC(), peer->ellipsoid.code);
        EXPECT_NEAR(datum.GetParameter(gcs::DatumParameterID::PrimeMeridian), peer->primeMeridian,
                    1e-10);
        EXPECT_EQ(datum.GetName(), shr::AtoW(proj_get_name(object.get())));
        const auto geographic = geographicOf.find(datum.GetPOSC());
        if (datum.GetMethod() == gcs::DatumMethod::EllipsoidOnly ||
            geographic == geographicOf.end())
            continue;
        const auto shift = proj::BoundToWgs84(geographic->second);
        shifts += shift.has_value();
        for (int k = 0; shift && k < 7; ++k) {
            const auto id = static_cast<gcs::DatumParameterID>(
                static_cast<int>(gcs::DatumParameterID::ShiftX) + k);
            EXPECT_NEAR(datum.GetParameter(id), (*shift)[static_cast<size_t>(k)], 1e-9) << k;
        }
    }
    EXPECT_EQ(ours, peerCodes);
    RecordProperty("datum_shifts_compared", shifts);
    EXPECT_GT(shifts, 150);
}

TEST(EpsgListsPeer, EllipsoidsAgree) {
    const std::vector<int> codes = proj::Codes(PJ_TYPE_ELLIPSOID);
    EXPECT_EQ(codes.size(), static_cast<size_t>(GCSKnownEllipsoidsList.Last() - 1));
    for (int code : codes) {
        SCOPED_TRACE("ellipsoid EPSG:" + std::to_string(code));
        const int index = GCSKnownEllipsoidsList.FindByPOSCNumber(code);
        ASSERT_GE(index, GCSKnownEllipsoidsList.First());
        const gcs::EllipsoidDef &ours = *GCSKnownEllipsoidsList.GetEllipsoid(index);
        proj::PjPtr object = proj::FromDatabase(code, PJ_CATEGORY_ELLIPSOID);
        const std::optional<proj::Ellipsoid> peer = proj::ReadEllipsoid(object.get());
        ASSERT_TRUE(peer.has_value());
        EXPECT_NEAR(ours.GetMajorRadius(), peer->major, 1e-9 * peer->major);
        EXPECT_NEAR(ours.GetMinorRadius(), peer->minor, 1e-9 * peer->minor);
        EXPECT_NEAR(ours.GetInverseFlattening(), peer->inverseFlattening,
                    1e-12 * peer->inverseFlattening);
        EXPECT_TRUE(ours.IsValid());
    }
}

TEST(EpsgListsPeer, LinearUnitsAgree) {
    const std::set<int> leftOut = LeftOut()["linear units"];
    int count = 0;
    PROJ_UNIT_INFO **units =
        proj_get_units_from_database(proj::Context(), "EPSG", "linear", 1, &count);
    ASSERT_NE(units, nullptr);
    int listed = 0;
    for (int i = 0; i < count; ++i) {
        const int code = std::atoi(units[i]->code);
        const int index = GCSKnownLinearUnitsList.FindByPOSCNumber(code);
        SCOPED_TRACE(units[i]->name);
        EXPECT_NE(index >= 0, leftOut.count(code) == 1);
        if (index < 0)
            continue;
        ++listed;
        EXPECT_NEAR(GCSKnownLinearUnitsList.EnumDivider(index), 1.0 / units[i]->conv_factor,
                    1e-12 / units[i]->conv_factor);
        EXPECT_EQ(GCSKnownLinearUnitsList.EnumName(index), shr::AtoW(units[i]->name));
    }
    proj_unit_list_destroy(units);
    EXPECT_EQ(listed, GCSKnownLinearUnitsList.Count());
}

} // namespace
