// The open engines and the signatures they register for.
#include "engines/OpenEngines.h"

#include "engines/geotiff/GeoTiffEngine.h"
#ifdef IOSID_HAVE_JPEG2000
#include "engines/jpeg2000/Jpeg2000Engine.h"
#endif

namespace engines {

void RegisterOpenEngines() {
    LizardTech::RegisterEngine(LizardTech::ImageSignature::Tiff, geotiff::MakeGeoTiffEngine);
#ifdef IOSID_HAVE_JPEG2000
    LizardTech::RegisterEngine(LizardTech::ImageSignature::Jpeg2000, jpeg2000::MakeJpeg2000Engine);
#endif
}

} // namespace engines
