// GCSDef: a georeferenced coordinate system (projection, datum, warp, EPSG code and name).
#pragma once
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "gcs/CSDef.h"
#include "gcs/DatumDef.h"
#include "gcs/ProjectionDef.h"

namespace gcs {

// A plain value type: copy it, assign it, compare it. Each piece is optional; a fresh GCSDef
// has none. The setters copy what they are given and are virtual so that a host can watch
// changes; they throw DefinitionError for a piece the pieces' Validate refuses, leaving the
// definition as it was.
class GCSDef : public CSDef {
public:
    GCSDef() = default;

    CSType GetType() const override { return CSType::Georeferenced; }
    std::unique_ptr<CSDef> Clone() const override;

    // A projection is present and its method is known (ProjectionDef::IsUnknown with
    // requireEllipsoid). requireMapProjection: also not Geographic, so latitude/longitude
    // systems answer false.
    bool HasProjection(bool requireEllipsoid, bool requireMapProjection) const;
    // A datum is present and its method is known; requireEllipsoid: it also carries a valid
    // ellipsoid, so it ties coordinates to the Earth.
    bool HasDatum(bool requireEllipsoid) const;

    // The pieces, or null when absent.
    const ProjectionDef *GetProjection() const;
    const DatumDef *GetDatum() const;
    // Null removes the piece. Throw DefinitionError for a piece that does not validate.
    virtual void SetProjection(const ProjectionDef *projection);
    virtual void SetDatum(const DatumDef *datum);

    // The EPSG (POSC) code of a predefined system, 0 when it has none. With the name these
    // identify a system; CSList::FindSystem's callers copy both.
    virtual int32_t GetPOSC() const { return posc_; }
    virtual void SetPOSC(int32_t code) { posc_ = code; }

    // Same coordinate system: projection (ProjectionDef::CompareParameters) and datum
    // (DatumDef::CompareParameters); an absent piece compares like a fresh one. Code, name and warp
    // are not compared: they identify a system or tie an image to it, they do not define it.
    // approximate is handed to the pieces' comparisons. difference (optional) receives a
    // description of the first difference.
    bool Compare(const GCSDef &other, bool approximate, std::wstring *difference) const;

private:
    std::optional<ProjectionDef> projection_;
    std::optional<DatumDef> datum_;
    int32_t posc_ = 0;
};

} // namespace gcs
