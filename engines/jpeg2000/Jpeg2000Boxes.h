// The boxes of a JP2 file the engine uses (ISO/IEC 15444-1 annex I): where the codestream is,
// how its components become channels, and the georeferencing payloads. A bare codestream has
// none of them.
#pragma once
#include "Jpeg2000Stream.h"

#include <cstdint>
#include <string>
#include <vector>

namespace engines::jpeg2000 {

struct Palette {
    uint32_t entries = 0;
    std::vector<uint8_t> bits;   // per column: bit depth
    std::vector<bool> isSigned;  // per column
    std::vector<int32_t> values; // entries × columns, row by row
};

struct ChannelMapping {
    uint16_t component = 0;
    bool viaPalette = false;
    uint8_t column = 0; // palette column when viaPalette
};

struct ChannelDefinition {
    uint16_t channel = 0;
    uint16_t type = 0;        // 0 colour, 1 opacity, 2 premultiplied opacity
    uint16_t association = 0; // colour number from 1; 0 for the whole image
};

struct Jp2Boxes {
    bool isJp2 = false; // false: the file is a bare codestream
    uint64_t codestreamOffset = 0;
    uint64_t codestreamLength = 0;
    bool hasPalette = false;
    Palette palette;
    std::vector<ChannelMapping> mappings;
    std::vector<ChannelDefinition> definitions;
    std::vector<uint8_t> geoJp2; // payload after the GeoJP2 UUID: a degenerate GeoTIFF
    std::string gmlRootInstance; // the XML labelled gml.root-instance
};

// Bytes a georeferencing payload may have; larger ones are ignored.
constexpr uint64_t kMaxGeoPayload = 1u << 20;

// Reads the boxes of a JP2 file, or takes a bare codestream (SOC first) as it is. False with
// `error` when the structure is broken before the codestream is found.
bool ReadJp2Boxes(StreamBytes &bytes, Jp2Boxes &boxes, std::string &error);

} // namespace engines::jpeg2000
