// GCSKnownDatumsList: the EPSG geodetic datums with their ellipsoids and shifts to WGS 84.
#include <algorithm>
#include <vector>

#include "EpsgTables.h"
#include "gcs/KnownLists.h"
#include "shr/Strings.h"

namespace gcs {

const DatumList GCSKnownDatumsList;

namespace {

constexpr int kFirstRow = 2; // list index of the first table row
constexpr int kFirstEllipsoidRow = 2;

DatumDef UserDefinedTemplate() {
    DatumDef datum(DatumMethod::EllipsoidOnly);
    datum.SetParameter(DatumParameterID::UserDefined, 1.0);
    datum.SetName(L"User-defined");
    return datum;
}

DatumDef DatumFromRow(const epsg::DatumRow &row) {
    DatumDef datum(row.method);
    const EllipsoidDef *ellipsoid =
        GCSKnownEllipsoidsList.GetEllipsoid(row.ellipsoid + kFirstEllipsoidRow);
    if (ellipsoid)
        datum.SetEllipsoid(*ellipsoid);
    datum.SetParameter(DatumParameterID::PrimeMeridian, row.primeMeridian);
    for (int i = 0; i < 7; ++i) {
        const auto id =
            static_cast<DatumParameterID>(static_cast<int>(DatumParameterID::ShiftX) + i);
        datum.SetParameter(id, row.shifts[i]);
    }
    datum.SetPOSC(row.code);
    datum.SetName(shr::AtoW(row.name));
    return datum;
}

std::vector<DatumDef> BuildDatums() {
    std::vector<DatumDef> list(kFirstRow);
    list[1] = UserDefinedTemplate();
    for (const epsg::DatumRow &row : epsg::Datums())
        list.push_back(DatumFromRow(row));
    return list;
}

const std::vector<DatumDef> &Datums() {
    static const std::vector<DatumDef> list = BuildDatums();
    return list;
}

const epsg::DatumRow *Row(int index) {
    const auto rows = epsg::Datums();
    if (index < kFirstRow || static_cast<size_t>(index - kFirstRow) >= rows.size())
        return nullptr;
    return &rows[static_cast<size_t>(index - kFirstRow)];
}

} // namespace

int DatumList::Last() const { return kFirstRow + static_cast<int>(epsg::Datums().size()) - 1; }

const DatumDef *DatumList::GetDatum(int index) const {
    const auto &list = Datums();
    if (index < 0 || static_cast<size_t>(index) >= list.size())
        return nullptr;
    return &list[static_cast<size_t>(index)];
}

int32_t DatumList::EnumPOSC(int index) const {
    const epsg::DatumRow *row = Row(index);
    return row ? row->code : 0;
}

bool DatumList::IsDeprecated(int index) const {
    const epsg::DatumRow *row = Row(index);
    return row && row->deprecated;
}

int DatumList::FindByPOSCNumber(int32_t code) const {
    const auto rows = epsg::Datums();
    const auto it =
        std::lower_bound(rows.begin(), rows.end(), code,
                         [](const epsg::DatumRow &row, int32_t c) { return row.code < c; });
    if (it == rows.end() || it->code != code)
        return -1;
    return kFirstRow + static_cast<int>(it - rows.begin());
}

int DatumList::FindByName(const std::wstring &name) const {
    const std::string narrow = shr::WtoA(name);
    for (int i = First(); i <= Last(); ++i) {
        if (narrow == Row(i)->name)
            return i;
    }
    return -1;
}

} // namespace gcs
