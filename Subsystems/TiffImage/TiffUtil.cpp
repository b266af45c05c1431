// The tag-name table and its lookup.
#include "TiffUtil.h"

#include <array>
#include <string_view>
#include <vector>

namespace tiff {
namespace {

struct TiffTagNameRow {
    int32_t tag;
    std::wstring_view name;
};

// Searched in this order, first match wins; ends with the row of tag 0. The order is not
// numeric (32781 follows 32996, 347 stands last) and is kept as it is.
constexpr std::array kTagNames = std::to_array<TiffTagNameRow>({
    {254, L"NEWSUBFILETYPE"},
    {255, L"SUBFILETYPE"},
    {256, L"IMAGEWIDTH"},
    {257, L"IMAGELENGTH"},
    {258, L"BITSPERSAMPLE"},
    {259, L"COMPRESSION"},
    {262, L"PHOTOMETRICINTERPRETATION"},
    {263, L"THRESHOLDING"},
    {264, L"CELLWIDTH"},
    {265, L"CELLLENGTH"},
    {266, L"FILLORDER"},
    {269, L"DOCUMENTNAME"},
    {270, L"IMAGEDESCRIPTION"},
    {271, L"MAKE"},
    {272, L"MODEL"},
    {273, L"STRIPOFFSETS"},
    {274, L"ORIENTATION"},
    {277, L"SAMPLESPERPIXEL"},
    {278, L"ROWSPERSTRIP"},
    {279, L"STRIPBYTECOUNTS"},
    {280, L"MINSAMPLEVALUE"},
    {281, L"MAXSAMPLEVALUE"},
    {282, L"XRESOLUTION"},
    {283, L"YRESOLUTION"},
    {284, L"PLANARCONFIGURATION"},
    {285, L"PAGENAME"},
    {286, L"XPOSITION"},
    {287, L"YPOSITION"},
    {288, L"FREEOFFSETS"},
    {289, L"FREEBYTECOUNTS"},
    {290, L"GRAYRESPONSEUNIT"},
    {291, L"GRAYRESPONSECURVE"},
    {292, L"T4OPTIONS"},
    {293, L"T6OPTIONS"},
    {296, L"RESOLUTIONUNIT"},
    {297, L"PAGENUMBER"},
    {301, L"TRANSFERFUNCTION"},
    {305, L"SOFTWARE"},
    {306, L"DATETIME"},
    {315, L"ARTIST"},
    {316, L"HOSTCOMPUTER"},
    {317, L"PREDICTOR"},
    {318, L"WHITEPOINT"},
    {319, L"PRIMARYCHROMATICITIES"},
    {320, L"COLORMAP"},
    {321, L"HALFTONEHINTS"},
    {322, L"TILEWIDTH"},
    {323, L"TILELENGTH"},
    {324, L"TILEOFFSETS"},
    {325, L"TILEBYTECOUNTS"},
    {330, L"SUBIFD"},
    {332, L"INKSET"},
    {333, L"INKNAMES"},
    {334, L"NUMBEROFINKS"},
    {336, L"DOTRANGE"},
    {337, L"TARGETPRINTER"},
    {338, L"EXTRASAMPLES"},
    {339, L"SAMPLEFORMAT"},
    {340, L"SMINSAMPLEVALUE"},
    {341, L"SMAXSAMPLEVALUE"},
    {342, L"TRANSFERRANGE"},
    {512, L"JPEGPROC"},
    {513, L"JPEGINTERCHANGEFORMAT"},
    {514, L"JPEGINTERCHANGEFORMATLENGTH"},
    {515, L"JPEGRESTARTINTERVAL"},
    {517, L"JPEGLOSSLESSPREDICTORS"},
    {518, L"JPEGPOINTTRANSFORMS"},
    {519, L"JPEGQTABLES"},
    {520, L"JPEGDCTABLES"},
    {521, L"JPEGACTABLES"},
    {529, L"YCBCRCOEFFICIENTS"},
    {530, L"YCBCRSUBSAMPLING"},
    {531, L"YCBCRPOSITIONING"},
    {532, L"REFERENCEBLACKWHITE"},
    {32995, L"MATTEING"},
    {32996, L"DATATYPE"},
    {32781, L"IMAGEID"},
    {32997, L"IMAGEDEPTH"},
    {32998, L"TILEDEPTH"},
    {33432, L"COPYRIGHT"},
    {33434, L"EXPOSURETIME"},
    {33437, L"FNUMBER"},
    {33550, L"MODELPIXELSCALETAGEXACT"},
    {33628, L"UIC1TAG"},
    {33629, L"UIC2TAG"},
    {33630, L"UIC3TAG"},
    {33631, L"UIC4TAG"},
    {33920, L"INTERGRAPHMATRIXTAG"},
    {33922, L"MODELTIEPOINTTAG"},
    {34377, L"PHOTOSHOPIMAGERESOURCES"},
    {34665, L"EXIFID"},
    {34735, L"GEOKEYDIRECTORYTAG"},
    {34736, L"GEODOUBLEPARAMSTAG"},
    {34737, L"GEOASCIIPARAMSTAG"},
    {42113, L"GDAL_NODATA"},
    {347, L"JPEGTABLES"},
    {0, L""},
});

// The names as strings, built once so lookups can hand out references.
const std::vector<std::wstring> &NameStrings() {
    static const std::vector<std::wstring> names = [] {
        std::vector<std::wstring> result;
        result.reserve(kTagNames.size());
        for (const auto &row : kTagNames)
            result.emplace_back(row.name);
        return result;
    }();
    return names;
}

} // namespace

const std::wstring &TiffTagName(int32_t tag) {
    for (size_t i = 0; kTagNames[i].tag != 0; ++i) {
        if (kTagNames[i].tag == tag)
            return NameStrings()[i];
    }
    static const std::wstring unknown = L"UNKNOWN";
    return unknown;
}

} // namespace tiff
