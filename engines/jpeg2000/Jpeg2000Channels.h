// How the components of a JPEG 2000 image become the bands the pipeline delivers: the JP2
// component mapping and palette, the channel definitions (colour order, alpha) and the
// sample type.
#pragma once
#include "Jpeg2000Boxes.h"
#include "Jpeg2000Codestream.h"

#include "lti/LTITypes.h"

#include <string>
#include <vector>

namespace engines::jpeg2000 {

struct BandSource {
    uint16_t component = 0;
    int paletteColumn = -1; // -1: the component's own samples
};

struct BandLayout {
    LizardTech::LTIColorSpace colorSpace = LizardTech::LTI_COLORSPACE_INVALID;
    LizardTech::LTIDataType dataType = LizardTech::LTI_DATATYPE_INVALID;
    std::vector<BandSource> bands; // in delivery order: colours by association, then alpha
    uint32_t bits = 0;             // significant bits of every band
    bool isSigned = false;
};

// False with `error` for what the engine does not deliver: subsampled components, bands of
// different depths, more than 16 bits, or a mapping that names what is not there.
bool DescribeBands(const Jp2Boxes &boxes, const CodestreamHeader &header, BandLayout &layout,
                   std::string &error);

} // namespace engines::jpeg2000
