// GCSKnownEllipsoidsList: the EPSG ellipsoids, searched by code, token and dimensions.
#include <algorithm>
#include <cctype>
#include <cmath>
#include <vector>

#include "EpsgTables.h"
#include "gcs/KnownLists.h"
#include "shr/Strings.h"

namespace gcs {

const EllipsoidList GCSKnownEllipsoidsList;

namespace {

constexpr int kFirstRow = 2; // list index of the first table row

std::vector<EllipsoidDef> BuildEllipsoids() {
    std::vector<EllipsoidDef> list(kFirstRow);
    list[1].SetName(L"User-defined");
    for (const epsg::EllipsoidRow &row : epsg::Ellipsoids()) {
        EllipsoidDef ellipsoid = EllipsoidDef::FromDimensions(row.major, row.minor, row.flattening);
        ellipsoid.SetPOSC(row.code);
        ellipsoid.SetName(shr::AtoW(row.name));
        list.push_back(ellipsoid);
    }
    return list;
}

const std::vector<EllipsoidDef> &Ellipsoids() {
    static const std::vector<EllipsoidDef> list = BuildEllipsoids();
    return list;
}

const epsg::EllipsoidRow *Row(int index) {
    const auto rows = epsg::Ellipsoids();
    if (index < kFirstRow || static_cast<size_t>(index - kFirstRow) >= rows.size())
        return nullptr;
    return &rows[static_cast<size_t>(index - kFirstRow)];
}

bool SameToken(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) {
        return std::toupper(static_cast<unsigned char>(x)) ==
               std::toupper(static_cast<unsigned char>(y));
    });
}

// Among equally close ellipsoids: current before deprecated, then the one more datums use
// (GRS 1980 rather than CGCS2000, which has the same dimensions).
bool PreferOnTie(const epsg::EllipsoidRow &candidate, const epsg::EllipsoidRow &best) {
    if (candidate.deprecated != best.deprecated)
        return !candidate.deprecated;
    return candidate.datumCount > best.datumCount;
}

} // namespace

int EllipsoidList::Last() const {
    return kFirstRow + static_cast<int>(epsg::Ellipsoids().size()) - 1;
}

const EllipsoidDef *EllipsoidList::GetEllipsoid(int index) const {
    const auto &list = Ellipsoids();
    if (index < 0 || static_cast<size_t>(index) >= list.size())
        return nullptr;
    return &list[static_cast<size_t>(index)];
}

int32_t EllipsoidList::EnumPOSC(int index) const {
    const epsg::EllipsoidRow *row = Row(index);
    return row ? row->code : 0;
}

std::string EllipsoidList::EnumToken(int index) const {
    const epsg::EllipsoidRow *row = Row(index);
    return row ? row->token : std::string();
}

bool EllipsoidList::IsDeprecated(int index) const {
    const epsg::EllipsoidRow *row = Row(index);
    return row && row->deprecated;
}

int EllipsoidList::FindByPOSCNumber(int32_t code) const {
    const auto rows = epsg::Ellipsoids();
    const auto it =
        std::lower_bound(rows.begin(), rows.end(), code,
                         [](const epsg::EllipsoidRow &row, int32_t c) { return row.code < c; });
    if (it == rows.end() || it->code != code)
        return -1;
    return kFirstRow + static_cast<int>(it - rows.begin());
}

int EllipsoidList::FindByToken(std::string_view token) const {
    for (int i = First(); i <= Last(); ++i) {
        if (SameToken(Row(i)->token, token))
            return i;
    }
    return -1;
}

int EllipsoidList::FindByToken(const std::wstring &token) const {
    return FindByToken(std::string_view(shr::WtoA(token)));
}

int EllipsoidList::FindByDimensions(double majorRadius, double flattening, double majorTolerance,
                                    double flatteningTolerance) const {
    if (!std::isfinite(majorRadius) || !std::isfinite(flattening) || !(majorTolerance >= 0.0) ||
        !(flatteningTolerance >= 0.0))
        return -1;
    int best = -1;
    double bestDistance = 0.0;
    for (int i = First(); i <= Last(); ++i) {
        const epsg::EllipsoidRow *row = Row(i);
        const double majorDifference = std::fabs(row->major - majorRadius);
        const double flatteningDifference = std::fabs(row->flattening - flattening);
        if (majorDifference > majorTolerance || flatteningDifference > flatteningTolerance)
            continue;
        const double distance = majorDifference + row->major * flatteningDifference;
        if (best < 0 || distance < bestDistance ||
            (distance == bestDistance && PreferOnTie(*row, *Row(best)))) {
            best = i;
            bestDistance = distance;
        }
    }
    return best;
}

} // namespace gcs
