// GCSKnownLinearUnitsList: the EPSG linear units, searched by code and by divider.
#include <algorithm>
#include <cmath>

#include "EpsgTables.h"
#include "gcs/KnownLists.h"
#include "shr/Strings.h"

namespace gcs {

const LinearUnitList GCSKnownLinearUnitsList;

namespace {

const epsg::UnitRow *Row(int index) {
    const auto rows = epsg::Units();
    if (index < 0 || static_cast<size_t>(index) >= rows.size())
        return nullptr;
    return &rows[static_cast<size_t>(index)];
}

} // namespace

int LinearUnitList::Last() const { return static_cast<int>(epsg::Units().size()) - 1; }

double LinearUnitList::EnumDivider(int index) const {
    const epsg::UnitRow *row = Row(index);
    return row ? 1.0 / row->metres : 0.0;
}

int32_t LinearUnitList::EnumPOSC(int index) const {
    const epsg::UnitRow *row = Row(index);
    return row ? row->code : 0;
}

std::wstring LinearUnitList::EnumName(int index) const {
    const epsg::UnitRow *row = Row(index);
    return row ? shr::AtoW(row->name) : std::wstring();
}

bool LinearUnitList::IsDeprecated(int index) const {
    const epsg::UnitRow *row = Row(index);
    return row && row->deprecated;
}

int LinearUnitList::FindByPOSCNumber(int32_t code) const {
    const auto rows = epsg::Units();
    const auto it =
        std::lower_bound(rows.begin(), rows.end(), code,
                         [](const epsg::UnitRow &row, int32_t c) { return row.code < c; });
    if (it == rows.end() || it->code != code)
        return -1;
    return static_cast<int>(it - rows.begin());
}

int LinearUnitList::FindByDivider(double value, double tolerance) const {
    if (!std::isfinite(value) || !(tolerance >= 0.0))
        return -1;
    int best = -1;
    double bestDistance = 0.0;
    for (int i = First(); i <= Last(); ++i) {
        const double distance = std::fabs(EnumDivider(i) - value);
        if (distance > tolerance)
            continue;
        // Rows are in code order, so a tie keeps the lower code unless it is deprecated.
        const bool better = best < 0 || distance < bestDistance ||
                            (distance == bestDistance && IsDeprecated(best) && !IsDeprecated(i));
        if (better) {
            best = i;
            bestDistance = distance;
        }
    }
    return best;
}

} // namespace gcs
