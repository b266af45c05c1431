// GCSDef: the pieces of a georeferenced coordinate system and their comparison.
#include "gcs/GCSDef.h"

#include "Comparison.h"

namespace gcs {

std::unique_ptr<CSDef> GCSDef::Clone() const { return std::make_unique<GCSDef>(*this); }

bool GCSDef::HasProjection(bool requireEllipsoid, bool requireMapProjection) const {
    if (!projection_ || projection_->IsUnknown(requireEllipsoid))
        return false;
    return !requireMapProjection || projection_->GetMethod() != ProjectionMethod::Geographic;
}

bool GCSDef::HasDatum(bool requireEllipsoid) const {
    if (!datum_ || datum_->IsUnknown())
        return false;
    return !requireEllipsoid || datum_->GetEllipsoid().IsValid();
}

const ProjectionDef *GCSDef::GetProjection() const { return projection_ ? &*projection_ : nullptr; }

const DatumDef *GCSDef::GetDatum() const { return datum_ ? &*datum_ : nullptr; }

void GCSDef::SetProjection(const ProjectionDef *projection) {
    if (!projection) {
        projection_.reset();
        return;
    }
    std::wstring why;
    if (!projection->Validate(&why))
        throw DefinitionError(L"projection refused: " + why);
    projection_ = *projection;
}

void GCSDef::SetDatum(const DatumDef *datum) {
    if (!datum) {
        datum_.reset();
        return;
    }
    std::wstring why;
    if (!datum->Validate(&why))
        throw DefinitionError(L"datum refused: " + why);
    datum_ = *datum;
}

bool GCSDef::Compare(const GCSDef &other, bool approximate, std::wstring *difference) const {
    // An absent piece compares like a fresh, unknown one.
    static const ProjectionDef kNoProjection;
    static const DatumDef kNoDatum;
    const ProjectionDef &projectionA = projection_ ? *projection_ : kNoProjection;
    const ProjectionDef &projectionB = other.projection_ ? *other.projection_ : kNoProjection;
    if (!projectionA.CompareParameters(projectionB, approximate, difference))
        return false;
    const DatumDef &datumA = datum_ ? *datum_ : kNoDatum;
    const DatumDef &datumB = other.datum_ ? *other.datum_ : kNoDatum;
    return datumA.CompareParameters(datumB, approximate, difference);
}

} // namespace gcs
