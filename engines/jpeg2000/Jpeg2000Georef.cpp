// GeoJP2 through the TIFF library and the GeoTIFF engine's reading of keys and model tags;
// GMLJP2 from its rectified grid.
#include "Jpeg2000Georef.h"

#include "engines/geotiff/GeoTiffGeo.h"

#include "Subsystems/TiffImage/TiffRead.h"
#include "gcs/KnownLists.h"
#include "gcs/ProjectionDef.h"
#include "georef/GeoKeyNames.h"

#include <cmath>
#include <cstdlib>

namespace engines::jpeg2000 {
namespace {

using namespace LizardTech;

constexpr uint16_t kModelTypeKey = 1024, kRasterTypeKey = 1025;
constexpr uint16_t kGeographicTypeKey = 2048, kProjectedTypeKey = 3072;
constexpr uint16_t kModelProjected = 1, kModelGeographic = 2, kRasterPixelIsArea = 1;

struct Element {
    size_t contentStart = 0, contentEnd = 0;
    std::string attributes;
};

// The first element named `local` (any namespace prefix) in [from, to) of `xml`.
bool FindElement(const std::string &xml, size_t from, size_t to, const std::string &local,
                 Element &element) {
    for (size_t p = xml.find('<', from); p != std::string::npos && p < to;
         p = xml.find('<', p + 1)) {
        size_t end = p + 1;
        while (end < xml.size() && !std::isspace(static_cast<unsigned char>(xml[end])) &&
               xml[end] != '>' && xml[end] != '/')
            ++end;
        const std::string name = xml.substr(p + 1, end - p - 1);
        const size_t colon = name.find(':');
        if ((colon == std::string::npos ? name : name.substr(colon + 1)) != local)
            continue;
        const size_t close = xml.find('>', end);
        if (close == std::string::npos || close >= to)
            return false;
        element.attributes = xml.substr(end, close - end);
        element.contentStart = close + 1;
        if (close > 0 && xml[close - 1] == '/') {
            element.contentEnd = element.contentStart;
            return true;
        }
        const size_t closing = xml.find("</" + name + ">", close);
        if (closing == std::string::npos || closing > to)
            return false;
        element.contentEnd = closing;
        return true;
    }
    return false;
}

bool TwoNumbers(const std::string &xml, const Element &e, double &a, double &b) {
    std::string text = xml.substr(e.contentStart, e.contentEnd - e.contentStart);
    for (char &c : text)
        if (c == ',')
            c = ' '; // gml:coordinates separates with commas
    char *end = nullptr;
    a = std::strtod(text.c_str(), &end);
    const char *second = end;
    b = std::strtod(second, &end);
    return end != second && std::isfinite(a) && std::isfinite(b);
}

int32_t EpsgOf(const std::string &attributes) {
    const size_t at = attributes.find("srsName=\"");
    if (at == std::string::npos)
        return 0;
    const size_t start = at + 9, end = attributes.find('"', start);
    const std::string srs = attributes.substr(start, end - start);
    const size_t last = srs.find_last_of(":/");
    if (srs.find("EPSG") == std::string::npos || last == std::string::npos)
        return 0;
    const long code = std::strtol(srs.c_str() + last + 1, nullptr, 10);
    return code > 0 && code < 0x7FFFFFFF ? static_cast<int32_t>(code) : 0;
}

bool IsGeographic(int32_t epsg) {
    const int index = gcs::GCSKnownSystemsList.FindByPOSCNumber(epsg);
    const gcs::GCSDef *system = index ? gcs::GCSKnownSystemsList.GetSystem(index) : nullptr;
    const gcs::ProjectionDef *projection = system ? system->GetProjection() : nullptr;
    return projection && projection->GetMethod() == gcs::ProjectionMethod::Geographic;
}

void AddShort(LTIMetadataDatabase &metadata, uint16_t key, uint16_t value) {
    const char *name = georef::GeoKeyName(key);
    std::string full = name ? name : "Unknown";
    if (full.size() < 6 || full.compare(full.size() - 6, 6, "GeoKey") != 0)
        full += "GeoKey";
    metadata.add(LTIMetadataRecord("GEOTIFF_NUM::" + std::to_string(key) + "::" + full,
                                   LTI_METADATA_DATATYPE_UINT16, &value, 1));
}

// GeoJP2: keys as records; true when the tags give a map.
bool FromGeoJp2(const std::vector<uint8_t> &payload, LTIMetadataDatabase &metadata,
                LTIGeoCoord &geo) {
    tiff::CTiffReader reader;
    if (!reader.Open(tiff::MakeMemorySource(payload.data(), payload.size()), L"GeoJP2") ||
        reader.Directories().empty())
        return false;
    const tiff::TiffDirectory &dir = reader.Directories()[0];
    const bool pixelIsPoint = geotiff::AddGeoKeyRecords(dir, metadata);
    return geotiff::GeoCoordFromTags(dir, pixelIsPoint, geo);
}

bool FromGml(const std::string &xml, LTIMetadataDatabase &metadata, LTIGeoCoord &geo) {
    GmlGrid grid;
    if (!ParseGmlGrid(xml, grid))
        return false;
    if (grid.epsg > 0 && grid.epsg <= 0xFFFF) {
        const bool geographic = IsGeographic(grid.epsg);
        AddShort(metadata, kModelTypeKey, geographic ? kModelGeographic : kModelProjected);
        AddShort(metadata, kRasterTypeKey, kRasterPixelIsArea);
        AddShort(metadata, geographic ? kGeographicTypeKey : kProjectedTypeKey,
                 static_cast<uint16_t>(grid.epsg));
    }
    geo = LTIGeoCoord(grid.originX, grid.originY, grid.columnX, grid.rowY, grid.rowX, grid.columnY);
    return true;
}

void Append(const LTIMetadataDatabase &from, LTIMetadataDatabase &to) {
    const LTIMetadataRecord *record = nullptr;
    for (lt_uint32 i = 0; from.getDataByIndex(i, record) == LT_STS_Success; ++i)
        to.add(*record);
}

} // namespace

bool ParseGmlGrid(const std::string &xml, GmlGrid &grid) {
    Element rectified, origin, pos, first, second;
    if (!FindElement(xml, 0, xml.size(), "RectifiedGrid", rectified))
        return false;
    const size_t from = rectified.contentStart, to = rectified.contentEnd;
    if (!FindElement(xml, from, to, "origin", origin) ||
        !(FindElement(xml, origin.contentStart, origin.contentEnd, "pos", pos) ||
          FindElement(xml, origin.contentStart, origin.contentEnd, "coordinates", pos)) ||
        !FindElement(xml, from, to, "offsetVector", first) ||
        !FindElement(xml, first.contentEnd, to, "offsetVector", second))
        return false;
    if (!TwoNumbers(xml, pos, grid.originX, grid.originY) ||
        !TwoNumbers(xml, first, grid.columnX, grid.columnY) ||
        !TwoNumbers(xml, second, grid.rowX, grid.rowY))
        return false;
    Element point;
    grid.epsg = EpsgOf(rectified.attributes);
    if (grid.epsg == 0 && FindElement(xml, origin.contentStart, origin.contentEnd, "Point", point))
        grid.epsg = EpsgOf(point.attributes);
    if (grid.epsg == 0)
        grid.epsg = EpsgOf(first.attributes);
    if (grid.epsg != 0 && IsGeographic(grid.epsg)) { // EPSG orders these latitude first
        std::swap(grid.originX, grid.originY);
        std::swap(grid.columnX, grid.columnY);
        std::swap(grid.rowX, grid.rowY);
    }
    return true;
}

bool AddJpeg2000Georeferencing(const Jp2Boxes &boxes, LTIMetadataDatabase &metadata,
                               LTIGeoCoord &geo) {
    LTIMetadataDatabase geoJp2Keys;
    if (!boxes.geoJp2.empty() && FromGeoJp2(boxes.geoJp2, geoJp2Keys, geo)) {
        Append(geoJp2Keys, metadata);
        return true;
    }
    if (!boxes.gmlRootInstance.empty() && FromGml(boxes.gmlRootInstance, metadata, geo))
        return true;
    if (geoJp2Keys.getIndexCount() > 0)
        Append(geoJp2Keys, metadata); // keys without a map still name the system
    return false;
}

} // namespace engines::jpeg2000
