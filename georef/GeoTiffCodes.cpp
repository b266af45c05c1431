// Code tables: GeoTIFF coordinate-transformation codes to projection methods, POSC linear
// unit codes to units per metre, and POSC system codes to the known systems.
#include "georef/GeoTiffCodes.h"

#include "gcs/KnownLists.h"

#include <cmath>

namespace georef {
namespace {

struct ProjTypeRow {
    int16_t code; // ProjCoordTransGeoKey value (GeoTIFF 1.0, section 6.3.3.3)
    int32_t method;
};

// Searched in order, ended by code 0. Stereographic, polar and oblique stereographic (14, 15,
// 16) share one method; Robinson (23) has two rows, the first one wins.
constexpr ProjTypeRow kProjTypes[] = {
    {1, 25},  {3, 12},  {6, 15},  {7, 13},  {8, 16},  {10, 17}, {11, 3},  {12, 4},
    {13, 10}, {14, 20}, {15, 20}, {16, 20}, {17, 9},  {18, 6},  {19, 11}, {20, 18},
    {21, 19}, {22, 21}, {23, 23}, {23, 22}, {24, 24}, {25, 27}, {26, 29}, {0, 32},
};

struct LinearUnitRow {
    int32_t code;         // POSC unit code (GeoTIFF 1.0, section 6.3.1.3)
    double unitsPerMeter; // reciprocal of the unit's length in metres
};

// Searched in order, ended by the value 0.0. The Indian foot carries Clarke's value on
// purpose, so a search by value always answers 9005.
constexpr LinearUnitRow kLinearUnits[] = {
    {9001, 1.0},
    {9002, 3.280839895013123},
    {9003, 3.2808333333464565},
    {9004, 3.2807080101205774},
    {9005, 3.2808451241291379},
    {9006, 3.2808451241291379},
    {9007, 4.9710141408202313},
    {9008, 4.970973864717668},
    {9009, 4.9709781569493217},
    {9010, 0.04970973863630402},
    {9011, 0.049709781565539519},
    {9012, 1.0936151944636148},
    {9013, 1.0936150414959789},
    {9014, 0.54680664916885391},
    {9015, 0.00053995680345572358},
    {0, 0.0},
};

// The table's own match is nearly exact; the library's list is searched more loosely.
constexpr double kTableTolerance = 5e-9;
constexpr double kListTolerance = 0.0001;

bool IsGeoreferenced(int index) {
    return gcs::GCSKnownSystemsList.GetType(index) == gcs::CSType::Georeferenced;
}

} // namespace

bool GeoTIFFCodeToProjType(int32_t code, gcs::ProjectionMethod *method) {
    for (const ProjTypeRow *row = kProjTypes; row->code != 0; ++row) {
        if (row->code == code) {
            if (method)
                *method = static_cast<gcs::ProjectionMethod>(row->method);
            return true;
        }
    }
    return false;
}

bool GeoTIFFProjTypeToCode(gcs::ProjectionMethod method, int32_t *code) {
    for (const ProjTypeRow *row = kProjTypes; row->code != 0; ++row) {
        if (row->method == static_cast<int32_t>(method)) {
            if (code)
                *code = row->code;
            return true;
        }
    }
    return false;
}

bool GeoTIFFCoordSysCodeToProjectionAndDatum(int32_t code, gcs::GCSDef &system) {
    if (code == 0)
        return false;
    const gcs::CSList &list = gcs::GCSKnownSystemsList;
    for (int i = list.First(); i <= list.Last(); ++i) {
        if (!IsGeoreferenced(i))
            continue;
        const gcs::GCSDef *known = list.GetSystem(i);
        if (known && known->GetPOSC() == code) {
            system = *known;
            return true;
        }
    }
    return false;
}

bool GeoTIFFProjectionAndDatumToCoordSysCode(const gcs::GCSDef &system, int32_t *code) {
    const gcs::CSList &list = gcs::GCSKnownSystemsList;
    for (int i = list.First(); i <= list.Last(); ++i) {
        if (!IsGeoreferenced(i))
            continue;
        const gcs::GCSDef *known = list.GetSystem(i);
        // A match without a code, or with nowhere to store it, does not end the search.
        if (known && known->Compare(system, true, nullptr) && known->GetPOSC() != 0 && code) {
            *code = known->GetPOSC();
            return true;
        }
    }
    return false;
}

double LinearScaleFromPOSCNumber(int32_t code) {
    if (code == 0)
        return 0.0;
    // The walk ends at the 0.0 row (a NaN would not end it); an empty table walks nothing.
    for (const LinearUnitRow *row = kLinearUnits; row->unitsPerMeter != 0.0; ++row) {
        if (row->code == code)
            return row->unitsPerMeter;
    }
    const int index = gcs::GCSKnownLinearUnitsList.FindByPOSCNumber(code);
    return index == -1 ? 0.0 : gcs::GCSKnownLinearUnitsList.EnumDivider(index);
}

int32_t LinearScaleToPOSCNumber(double unitsPerMeter) {
    // The first row within the tolerance wins.
    for (const LinearUnitRow *row = kLinearUnits; row->unitsPerMeter != 0.0; ++row) {
        if (std::fabs(unitsPerMeter - row->unitsPerMeter) < kTableTolerance)
            return row->code;
    }
    const int index = gcs::GCSKnownLinearUnitsList.FindByDivider(unitsPerMeter, kListTolerance);
    return index == -1 ? 0 : gcs::GCSKnownLinearUnitsList.EnumPOSC(index);
}

} // namespace georef
