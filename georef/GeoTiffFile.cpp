// Opening a GeoTIFF's TIFF file and checking an image number.
#include "georef/GeoTiffFile.h"

#include "Subsystems/TiffImage/TiffImageRead.h"
#include "georef/GeoTiffStatus.h"

namespace georef {

bool RecordGeoTiffError(shr::ErrorRecord *error, const wchar_t *sourceFile, int line,
                        int32_t code) {
    if (error)
        error->Set(sourceFile, line, code);
    return false;
}

bool OpenGeoTiffFile(tiff::TiffImageRead &file, const std::wstring &path, shr::ErrorRecord *error) {
    if (file.OpenFile(path))
        return true;
    if (error)
        *error = file.Error();
    return false;
}

bool CheckImageNumber(tiff::TiffImageRead &file, int image, shr::ErrorRecord *error) {
    if (image >= 1 && static_cast<unsigned>(image) <= file.GetImageCount())
        return true;
    return RecordGeoTiffError(error, L"georef/GeoTiffFile", __LINE__, kGeoTiffNoSuchImage);
}

} // namespace georef
