// GeoTiffExtract: warp, keys, the decision chain for projection and datum, and the assembly
// onto a GCSDef.
#include "georef/GeoTiffExtract.h"

#include "Subsystems/TiffImage/TiffImageRead.h"
#include "gcs/KnownLists.h"
#include "georef/GeoKeyBundle.h"
#include "georef/GeoTiffCodes.h"
#include "georef/GeoTiffDatum.h"
#include "georef/GeoTiffEsri.h"
#include "georef/GeoTiffFile.h"
#include "georef/GeoTiffKeys.h"
#include "georef/GeoTiffPCS.h"
#include "georef/GeoTiffParams.h"
#include "georef/GeoTiffStatus.h"
#include "georef/GeoTiffWarp.h"

namespace georef {
namespace {

using gcs::ProjectionMethod;

constexpr const wchar_t *kSourceFile = L"georef/GeoTiffExtract";
constexpr uint16_t kModelProjected = 1;
constexpr uint16_t kModelGeographic = 2;
constexpr int32_t kPseudoMercatorDatum = 6055; // the sphere of "Web Mercator"

void TakeGeographicSystem(const GeoTiffParams &p, GeoTiffPieces &pieces) {
    pieces.projection.SetMethod(ProjectionMethod::Geographic);
    gcs::GCSDef system;
    if (p.GeographicType != 0 &&
        GeoTIFFCoordSysCodeToProjectionAndDatum(p.GeographicType, system) && system.GetDatum())
        pieces.datum = *system.GetDatum();
}

bool PseudoMercatorDatum(const gcs::ProjectionDef &projection, gcs::DatumDef &datum) {
    gcs::DatumDef candidate;
    if (!GeoTiffKnownDatum(kPseudoMercatorDatum, candidate) ||
        !candidate.GetEllipsoid().CompareParameters(projection.GetEllipsoid(), true))
        return false;
    datum = candidate;
    return true;
}

// Each link runs only while the datum is still unknown.
void FindDatum(const GeoTiffParams &p, GeoTiffPieces &pieces) {
    gcs::DatumDef &datum = pieces.datum;
    if (datum.IsUnknown())
        GeoTiffKnownDatum(p.GeogGeodeticDatum, datum);
    // A geographic system's code plus 2000 is its datum's (4326 -> 6326).
    const int32_t fromSystem = p.GeographicType + 2000;
    if (datum.IsUnknown() && fromSystem >= 6000 && fromSystem <= 6999)
        GeoTiffKnownDatum(fromSystem, datum);
    if (datum.IsUnknown() && !pieces.projection.IsUnknown(false))
        PseudoMercatorDatum(pieces.projection, datum);
    if (datum.IsUnknown())
        GeoTiffDatumFromToWGS84(p, datum);
}

void GiveProjectionAnEllipsoid(GeoTiffPieces &pieces) {
    if (!pieces.projection.GetEllipsoid().IsUnknown())
        return;
    const gcs::EllipsoidDef &fromDatum = pieces.datum.GetEllipsoid();
    pieces.projection.SetEllipsoid(fromDatum.IsUnknown() ? GeoTiffClarke1866() : fromDatum);
}

void TryEsriPeString(const GeoTiffParams &p, GeoTiffPieces &pieces) {
    const ProjectionMethod method = pieces.projection.GetMethod();
    if (method != ProjectionMethod::Unknown && method != ProjectionMethod::Geographic)
        return;
    gcs::GCSDef system;
    if (!ConvertEsriPeString(p.PCSCitation, system))
        return;
    if (system.GetDatum())
        pieces.datum = *system.GetDatum();
    if (system.GetProjection())
        pieces.projection = *system.GetProjection();
}

bool ReadKeys(tiff::TiffImageRead &file, int image, GeoTiffParams &params,
              shr::ErrorRecord *error) {
    GeoKeyBundle bundle;
    if (!GeoTiffExtractKeys(file, image, bundle, error))
        return false;
    return GeoTiffBundleToParams(bundle, params);
}

} // namespace

bool GeoTiffDecide(GeoTiffParams &p, tiff::TiffImageRead *file, int image, GeoTiffPieces &pieces,
                   shr::ErrorRecord *error) {
    if (!GeoTiffExtractPCS(p, &pieces.projection, &pieces.datum, &pieces.warp,
                           &pieces.linearUnitsPerMeter))
        return RecordGeoTiffError(error, kSourceFile, __LINE__, kGeoTiffMissingOutput);
    if (pieces.warpFromTiePointAndScale) {
        gcs::WarpDef rebuilt;
        if (!file)
            return RecordGeoTiffError(error, kSourceFile, __LINE__, kGeoTiffMissingOutput);
        if (!GeoTiffRecalculateWarp(*file, image, rebuilt, pieces.linearUnitsPerMeter, error))
            return false;
        pieces.warp = rebuilt;
    }
    if (p.GTModelType == kModelProjected)
        pieces.namedCode = p.ProjectedCSType;
    if (p.GTModelType == kModelGeographic) {
        pieces.namedCode = p.GeographicType;
        TakeGeographicSystem(p, pieces);
    }
    FindDatum(p, pieces);
    if (p.GTModelType == kModelProjected)
        GiveProjectionAnEllipsoid(pieces);
    if (p.GTModelType == kModelProjected || p.GTModelType == kUserDefined)
        TryEsriPeString(p, pieces);
    if (p.GTModelType == kModelProjected &&
        pieces.projection.GetMethod() == ProjectionMethod::Unknown)
        pieces.projection = gcs::ProjectionDef(ProjectionMethod::Planar);
    return true;
}

bool GeoTiffExtractPieces(tiff::TiffImageRead &file, int image, GeoTiffPieces &pieces,
                          shr::ErrorRecord *error) {
    if (!GetGeorefInfoFromGeoTIFF(file, image, pieces.warp, &pieces.warpFromTiePointAndScale,
                                  error))
        return false;
    GeoTiffSetWarpMethodByPointCount(pieces.warp);
    GeoTiffParams params;
    if (!ReadKeys(file, image, params, error))
        return false;
    return GeoTiffDecide(params, &file, image, pieces, error);
}

bool GeoTiffAssemble(const GeoTiffPieces &pieces, gcs::GCSDef &system, shr::ErrorRecord *error) {
    bool ok = true;
    if (!pieces.projection.IsUnknown(false)) {
        try {
            system.SetProjection(&pieces.projection);
        } catch (const std::exception &) {
            // The refused projection is not replaced: the system keeps the one it had.
            ok = RecordGeoTiffError(error, kSourceFile, __LINE__, kGeoTiffPieceRefused);
        }
    }
    if (!pieces.datum.IsUnknown()) {
        try {
            system.SetDatum(&pieces.datum);
        } catch (const std::exception &) {
            system.SetDatum(nullptr);
            ok = RecordGeoTiffError(error, kSourceFile, __LINE__, kGeoTiffPieceRefused);
        }
    }
    if (pieces.warp.GetMethod() != gcs::WarpMethod::None) {
        try {
            system.SetWarp(&pieces.warp);
        } catch (const std::exception &) {
            system.SetWarp(nullptr);
            ok = RecordGeoTiffError(error, kSourceFile, __LINE__, kGeoTiffPieceRefused);
        }
    }
    const gcs::CSList &list = gcs::GCSKnownSystemsList;
    const int index = list.FindSystem(system, true, false, pieces.namedCode);
    if (index != 0 && list.GetSystem(index)) {
        system.SetPOSC(list.GetSystem(index)->GetPOSC());
        system.SetName(list.GetSystem(index)->GetName());
    }
    return ok;
}

bool GeoTiffExtract(tiff::TiffImageRead &file, int image, gcs::GCSDef &system,
                    shr::ErrorRecord *error) {
    GeoTiffPieces pieces;
    if (!GeoTiffExtractPieces(file, image, pieces, error))
        return false;
    return GeoTiffAssemble(pieces, system, error);
}

bool GeoTiffExtract(const std::wstring &path, int image, gcs::GCSDef &system,
                    shr::ErrorRecord *error) {
    tiff::TiffImageRead file;
    if (!OpenGeoTiffFile(file, path, error))
        return false;
    const bool ok = GeoTiffExtract(file, image, system, error);
    file.Close();
    return ok;
}

} // namespace georef
