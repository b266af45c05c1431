// The main header of a JPEG 2000 codestream (ISO/IEC 15444-1 annex A): image and tile grid,
// components, decomposition levels and code-block sizes, read before the codec sees the file
// so that sizes it would allocate for are checked first.
#pragma once
#include "Jpeg2000Stream.h"

#include <cstdint>
#include <string>
#include <vector>

namespace engines::jpeg2000 {

struct CodestreamComponent {
    uint8_t bits = 0; // 1 to 38
    bool isSigned = false;
    uint8_t dx = 1, dy = 1; // subsampling on the reference grid
};

// How a component is coded: decomposition levels, and the code-block size in log2 samples,
// already cut to the smallest precinct (the decoder allocates per code-block).
struct ComponentCoding {
    uint32_t levels = 0;
    uint32_t blockWidthLog2 = 0, blockHeightLog2 = 0;
    // Precinct size exponents per resolution, lowest first: width in the low nibble, height in
    // the high one; none given means one precinct per resolution.
    std::vector<uint8_t> precincts;
};

struct CodestreamHeader {
    uint32_t x0 = 0, y0 = 0, x1 = 0, y1 = 0; // image area on the reference grid
    uint32_t tileX0 = 0, tileY0 = 0, tileWidth = 0, tileHeight = 0;
    std::vector<CodestreamComponent> components;
    std::vector<ComponentCoding> coding; // per component, from COD and COC
    uint32_t layers = 1;                 // quality layers, from COD
    uint32_t levels = 0;                 // fewest decomposition levels of any component

    uint32_t width() const { return x1 - x0; }
    uint32_t height() const { return y1 - y0; }
    uint32_t tilesAcross() const;
    uint32_t tilesDown() const;
    uint64_t tileCount() const { return uint64_t{tilesAcross()} * tilesDown(); }
};

// Reads SIZ, COD and COC from the codestream at `offset` (of `length` bytes). False with
// `error` when the header is missing, inconsistent or out of the standard's ranges.
bool ReadCodestreamHeader(StreamBytes &bytes, uint64_t offset, uint64_t length,
                          CodestreamHeader &header, std::string &error);

// The sizes the decoder allocates for, checked before it runs: state for every tile (and no
// more tiles than `codestreamLength` bytes can hold), tile-component parameters, and the
// code-blocks of one tile. False with `error` naming what is too big.
bool CheckCodestreamLimits(const CodestreamHeader &header, uint64_t codestreamLength,
                           std::string &error);

} // namespace engines::jpeg2000
