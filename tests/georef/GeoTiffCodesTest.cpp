// The code-table lookups: projection types, linear units and predefined systems.
#include "georef/GeoTiffCodes.h"

#include "gcs/KnownLists.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using namespace georef;
using gcs::ProjectionMethod;

namespace {

TEST(GeoTIFFCodeToProjType, CodesWithoutARow) {
    // 0 is the end marker; 65537 and -65535 must not match 1 through a 16-bit cut.
    for (int32_t code : {0, 2, 4, 5, 9, 27, 32, -1, 65537, -65535, 32767}) {
        ProjectionMethod found = ProjectionMethod::Mercator;
        EXPECT_FALSE(GeoTIFFCodeToProjType(code, &found)) << code;
        EXPECT_EQ(found, ProjectionMethod::Mercator) << code;
    }
}

TEST(GeoTIFFProjTypeToCode, FirstRowOfEachMethod) {
    const std::pair<int32_t, int32_t> cases[] = {{22, 23}, {23, 23}, {20, 14}, {25, 1},
                                                 {12, 3},  {29, 26}, {9, 17}};
    for (auto [method, code] : cases) {
        int32_t found = 0;
        EXPECT_TRUE(GeoTIFFProjTypeToCode(static_cast<ProjectionMethod>(method), &found)) << method;
        EXPECT_EQ(found, code) << method;
    }
    // UTM and two-point Hotine have no GeoTIFF code; 32 only ends the table.
    for (int32_t method : {0, 1, 2, 26, 28, 30, 32}) {
        int32_t found = -7;
        EXPECT_FALSE(GeoTIFFProjTypeToCode(static_cast<ProjectionMethod>(method), &found))
            << method;
        EXPECT_EQ(found, -7) << method;
    }
    EXPECT_TRUE(GeoTIFFProjTypeToCode(ProjectionMethod::Robinson, nullptr));
}

TEST(LinearScaleFromPOSCNumber, TableBeforeTheLibrary) {
    // The module's own table is searched first; these rows differ from the EPSG list or end it.
    const std::pair<int32_t, double> rows[] = {
        {9001, 1.0},
        {9003, 3.2808333333464565}, // the library's list has 3.2808333333333328
        {9005, 3.2808451241291379}, // the library's Clarke's foot differs
        {9006, 3.2808451241291379}, // the Indian foot carries Clarke's value
        {9015, 0.00053995680345572358},
    };
    for (auto [code, value] : rows)
        EXPECT_EQ(LinearScaleFromPOSCNumber(code), value) << code;
    EXPECT_EQ(LinearScaleFromPOSCNumber(9036), 0.001); // kilometre, from the library
    for (int32_t code : {0, 12345, -9001, 9016})
        EXPECT_EQ(LinearScaleFromPOSCNumber(code), 0.0) << code;
}

TEST(LinearScaleToPOSCNumber, TolerancesAndOrder) {
    const std::pair<double, int32_t> cases[] = {
        {1.0, 9001},
        {1.0 + 4e-9, 9001},
        {3.2808451241291379, 9005}, // never 9006, which carries the same value
        {0.54680664916885391, 9014},
        {3.2808399, 9002},
        {3.28086, 9081},                   // only the library, within 0.0001
        {3.2808451241291379 + 1e-8, 9080}, // past the table's 5e-9: the library's nearest
        {3.2811, 0},                       // nothing within 0.0001
        {0.001, 9036},                     // kilometre
        {1000.0, 1025},                    // millimetre
        {12345.0, 0},
        {std::numeric_limits<double>::quiet_NaN(), 0},
        {0.0, 0},
    };
    for (auto [value, code] : cases)
        EXPECT_EQ(LinearScaleToPOSCNumber(value), code) << value;
}

// Found by code (every code is swept against PROJ by the peer tests) and by value; a failed
// search leaves the definition and its code as they were.
TEST(GeoTIFFCoordSysCode, BothDirections) {
    gcs::GCSDef system;
    ASSERT_TRUE(GeoTIFFCoordSysCodeToProjectionAndDatum(26711, system));
    for (int32_t code : {0, 12345, 32767, -32632}) {
        gcs::GCSDef untouched = system;
        EXPECT_FALSE(GeoTIFFCoordSysCodeToProjectionAndDatum(code, untouched)) << code;
        EXPECT_TRUE(untouched.Compare(system, false, nullptr)) << code;
        EXPECT_EQ(untouched.GetPOSC(), 26711) << code;
    }
    int32_t code = 0;
    EXPECT_TRUE(GeoTIFFProjectionAndDatumToCoordSysCode(system, &code));
    EXPECT_EQ(code, 26711);
    // A match with nowhere to store its code does not count.
    EXPECT_FALSE(GeoTIFFProjectionAndDatumToCoordSysCode(system, nullptr));

    gcs::ProjectionDef moved = *system.GetProjection();
    moved.SetParameter(gcs::ProjectionParameterID::Lon0, -116.5);
    system.SetProjection(&moved);
    code = 0;
    EXPECT_FALSE(GeoTIFFProjectionAndDatumToCoordSysCode(system, &code));
    EXPECT_EQ(code, 0);
}

} // namespace
