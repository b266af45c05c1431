// GCSKnownSystemsList: the EPSG geographic 2D and projected systems as GCSDefs.
#include <algorithm>
#include <vector>

#include "EpsgTables.h"
#include "gcs/KnownLists.h"
#include "shr/Strings.h"

namespace gcs {

const CSList GCSKnownSystemsList;

namespace {

constexpr int kFirstRow = 1; // list index of the first table row
constexpr int kFirstDatumRow = 2;

ProjectionParameters ParametersFromRow(const epsg::SystemRow &row, const DatumDef &datum) {
    ProjectionParameters params;
    params.ellipsoid = datum.GetEllipsoid();
    if (row.conversion < 0) {
        params.method = ProjectionMethod::Geographic;
        params.linearScale = 1.0 / row.degreesPerUnit;
        return params;
    }
    const epsg::ConversionRow &conversion =
        epsg::Conversions()[static_cast<size_t>(row.conversion)];
    params.method = conversion.method;
    params.option = conversion.option;
    for (const epsg::ParameterValue &value :
         epsg::ParameterValues().subspan(conversion.first, conversion.count))
        params.Set(value.id, value.value);
    params.linearScale = 1.0 / epsg::Units()[static_cast<size_t>(row.unit)].metres;
    return params;
}

GCSDef SystemFromRow(const epsg::SystemRow &row) {
    const DatumDef *datum = GCSKnownDatumsList.GetDatum(row.datum + kFirstDatumRow);
    const ProjectionDef projection(ParametersFromRow(row, *datum));
    GCSDef system;
    system.SetProjection(&projection);
    system.SetDatum(datum);
    system.SetPOSC(row.code);
    system.SetName(shr::AtoW(row.name));
    return system;
}

std::vector<GCSDef> BuildSystems() {
    std::vector<GCSDef> list(kFirstRow);
    list.reserve(kFirstRow + epsg::Systems().size());
    for (const epsg::SystemRow &row : epsg::Systems())
        list.push_back(SystemFromRow(row));
    return list;
}

const std::vector<GCSDef> &Systems() {
    static const std::vector<GCSDef> list = BuildSystems();
    return list;
}

const epsg::SystemRow *Row(int index) {
    const auto rows = epsg::Systems();
    if (index < kFirstRow || static_cast<size_t>(index - kFirstRow) >= rows.size())
        return nullptr;
    return &rows[static_cast<size_t>(index - kFirstRow)];
}

// The system as if it were in metres.
GCSDef InMetres(const GCSDef &system) {
    const ProjectionDef *projection = system.GetProjection();
    if (!projection)
        return system;
    ProjectionDef metres(*projection);
    metres.SetParameter(ProjectionParameterID::LinearScale, 1.0);
    GCSDef copy(system);
    copy.SetProjection(&metres);
    return copy;
}

ProjectionMethod MethodOf(const GCSDef &system) {
    const ProjectionDef *projection = system.GetProjection();
    return projection ? projection->GetMethod() : ProjectionMethod::Unknown;
}

} // namespace

int CSList::Last() const { return kFirstRow + static_cast<int>(epsg::Systems().size()) - 1; }

CSType CSList::GetType(int index) const {
    return Row(index) ? CSType::Georeferenced : CSType::Unknown;
}

const GCSDef *CSList::GetSystem(int index) const {
    const auto &list = Systems();
    if (index < 0 || static_cast<size_t>(index) >= list.size())
        return nullptr;
    return &list[static_cast<size_t>(index)];
}

int32_t CSList::EnumPOSC(int index) const {
    const epsg::SystemRow *row = Row(index);
    return row ? row->code : 0;
}

bool CSList::IsDeprecated(int index) const {
    const epsg::SystemRow *row = Row(index);
    return row && row->deprecated;
}

int CSList::FindByPOSCNumber(int32_t code) const {
    const auto rows = epsg::Systems();
    const auto it =
        std::lower_bound(rows.begin(), rows.end(), code,
                         [](const epsg::SystemRow &row, int32_t c) { return row.code < c; });
    if (it == rows.end() || it->code != code)
        return 0;
    return kFirstRow + static_cast<int>(it - rows.begin());
}

int CSList::FindSystem(const GCSDef &system, bool approximate, bool ignoreLinearUnit) const {
    return FindSystem(system, approximate, ignoreLinearUnit, system.GetPOSC());
}

int CSList::FindSystem(const GCSDef &system, bool approximate, bool ignoreLinearUnit,
                       int32_t preferredCode) const {
    const GCSDef query = ignoreLinearUnit ? InMetres(system) : system;
    auto matches = [&](int index) {
        const GCSDef &entry = *GetSystem(index);
        if (MethodOf(entry) != MethodOf(query))
            return false;
        return ignoreLinearUnit ? InMetres(entry).Compare(query, approximate, nullptr)
                                : entry.Compare(query, approximate, nullptr);
    };
    const int byCode = preferredCode != 0 ? FindByPOSCNumber(preferredCode) : 0;
    if (byCode != 0 && matches(byCode))
        return byCode;
    int deprecatedMatch = 0;
    for (int i = First(); i <= Last(); ++i) {
        if (!matches(i))
            continue;
        if (!IsDeprecated(i))
            return i;
        if (deprecatedMatch == 0)
            deprecatedMatch = i;
    }
    return deprecatedMatch;
}

} // namespace gcs
