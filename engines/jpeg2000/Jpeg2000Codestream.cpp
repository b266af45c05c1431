// Main header markers: SIZ for the grids and components, COD and COC for levels and
// code-blocks; everything up to the first tile-part.
#include "Jpeg2000Codestream.h"

#include <algorithm>

namespace engines::jpeg2000 {
namespace {

enum Marker : uint16_t {
    kStartOfCodestream = 0xFF4F,
    kImageAndTileSize = 0xFF51,
    kCodingDefault = 0xFF52,
    kCodingComponent = 0xFF53,
    kStartOfTile = 0xFF90,
};

constexpr uint32_t kMaxCoordinate = 0x7FFFFFFF; // the decoder computes in signed 32 bits
constexpr uint32_t kMaxComponents = 16384;
constexpr uint64_t kMaxTiles = 32768; // the codec keeps about 6 KB of state for every tile
// Every tile needs at least one tile-part: an SOT marker segment (12 bytes) and SOD (2).
constexpr uint64_t kMinTileBytes = 14;
constexpr uint64_t kMaxTileComponents = 1u << 17;
constexpr uint64_t kMaxCodeBlocksPerTile = 1u << 21; // the codec keeps 300-450 bytes a block
// Real images code about a byte per code-block or more; a codestream with fewer bits than
// blocks describes mostly nothing, so beyond this floor its blocks are bounded by its size.
constexpr uint64_t kCodeBlocksAnySize = 1u << 18;
// Every packet (one a layer, resolution, component and precinct) takes a byte or more, and the
// codec walks each one, present or not; beyond this floor they are bounded the same way.
constexpr uint64_t kPacketsAnySize = 1u << 18;
constexpr int kMaxMarkers = 65536;

uint32_t CeilDiv(uint32_t a, uint32_t b) {
    return static_cast<uint32_t>((uint64_t{a} + b - 1) / b);
}

bool ParseSize(const std::vector<uint8_t> &s, CodestreamHeader &h, std::string &error) {
    // s: the SIZ segment after its length field.
    if (s.size() < 36)
        return error = "image and tile size marker too short", false;
    h.x1 = BigEndian32(&s[2]);
    h.y1 = BigEndian32(&s[6]);
    h.x0 = BigEndian32(&s[10]);
    h.y0 = BigEndian32(&s[14]);
    h.tileWidth = BigEndian32(&s[18]);
    h.tileHeight = BigEndian32(&s[22]);
    h.tileX0 = BigEndian32(&s[26]);
    h.tileY0 = BigEndian32(&s[30]);
    const uint32_t count = BigEndian16(&s[34]);
    if (h.x1 <= h.x0 || h.y1 <= h.y0 || h.x1 > kMaxCoordinate || h.y1 > kMaxCoordinate)
        return error = "image area " + std::to_string(h.x0) + "," + std::to_string(h.y0) + " to " +
                       std::to_string(h.x1) + "," + std::to_string(h.y1) + " is empty or too large",
               false;
    if (h.tileWidth == 0 || h.tileHeight == 0 || h.tileX0 > h.x0 || h.tileY0 > h.y0 ||
        uint64_t{h.tileX0} + h.tileWidth <= h.x0 || uint64_t{h.tileY0} + h.tileHeight <= h.y0)
        return error = "tile grid does not cover the image origin", false;
    if (count == 0 || count > kMaxComponents || s.size() < 36 + 3 * size_t{count})
        return error = std::to_string(count) + " components in a marker of " +
                       std::to_string(s.size() + 2) + " bytes",
               false;
    for (uint32_t c = 0; c < count; ++c) {
        const uint8_t *p = &s[36 + 3 * c];
        const CodestreamComponent comp{static_cast<uint8_t>((p[0] & 0x7F) + 1), (p[0] & 0x80) != 0,
                                       p[1], p[2]};
        if (comp.bits > 38 || comp.dx == 0 || comp.dy == 0)
            return error = "component " + std::to_string(c) +
                           " has an invalid depth or "
                           "subsampling",
                   false;
        h.components.push_back(comp);
    }
    return true;
}

// COD or COC: levels, code-block size and the precinct sizes that may cut it.
bool ParseCoding(const std::vector<uint8_t> &s, bool perComponent, CodestreamHeader &h,
                 std::vector<bool> &byComponent, std::string &error) {
    size_t at = 0, style = 0;
    uint32_t component = 0;
    if (perComponent) {
        const bool wide = h.components.size() > 256;
        if (s.size() < (wide ? 3u : 2u))
            return error = "coding style component marker too short", false;
        component = wide ? BigEndian16(s.data()) : s[0];
        style = wide ? 2 : 1; // Scoc after Ccoc
        at = style + 1;
        if (component >= h.components.size())
            return error = "coding style for component " + std::to_string(component) + " of " +
                           std::to_string(h.components.size()),
                   false;
    } else {
        at = 1 + 4; // Scod, progression order, layers, colour transform
        if (s.size() >= 4)
            h.layers = std::max<uint32_t>(1, BigEndian16(s.data() + 2));
    }
    if (s.size() < at + 5)
        return error = "coding style marker too short", false;
    ComponentCoding coding{s[at], s[at + 1] + 2u, s[at + 2] + 2u, {}};
    if (coding.levels > 32 || coding.blockWidthLog2 > 10 || coding.blockHeightLog2 > 10 ||
        coding.blockWidthLog2 + coding.blockHeightLog2 > 12)
        return error = "coding style with " + std::to_string(coding.levels) +
                       " levels or code-blocks out of range",
               false;
    if (s[style] & 1) { // precinct sizes follow, one byte per resolution
        if (s.size() < at + 5 + coding.levels + 1)
            return error = "coding style marker shorter than its precinct sizes", false;
        for (uint32_t r = 0; r <= coding.levels; ++r) {
            const uint8_t p = s[at + 5 + r];
            coding.precincts.push_back(p);
            // A sub-band's code-blocks fit in half a precinct (the lowest resolution: a whole).
            const uint32_t cut = r == 0 ? 0 : 1;
            coding.blockWidthLog2 =
                std::min<uint32_t>(coding.blockWidthLog2, (p & 0xF) > cut ? (p & 0xF) - cut : 0);
            coding.blockHeightLog2 =
                std::min<uint32_t>(coding.blockHeightLog2, (p >> 4) > cut ? (p >> 4) - cut : 0);
        }
    }
    if (perComponent) {
        h.coding[component] = coding;
        byComponent[component] = true;
    } else {
        for (size_t c = 0; c < h.coding.size(); ++c)
            if (!byComponent[c]) // COC overrides COD whatever their order
                h.coding[c] = coding;
    }
    return true;
}

// Code-blocks of one component of a w × h tile over all its resolutions.
uint64_t CodeBlocks(const ComponentCoding &c, uint64_t w, uint64_t h) {
    const auto blocks = [&](uint64_t sw, uint64_t sh) {
        return ((sw + (uint64_t{1} << c.blockWidthLog2) - 1) >> c.blockWidthLog2) *
               ((sh + (uint64_t{1} << c.blockHeightLog2) - 1) >> c.blockHeightLog2);
    };
    const auto shrink = [](uint64_t v, uint32_t d) { return (v + (uint64_t{1} << d) - 1) >> d; };
    uint64_t total = blocks(shrink(w, c.levels), shrink(h, c.levels));
    for (uint32_t d = 1; d <= c.levels; ++d)
        total += 3 * blocks(shrink(w, d), shrink(h, d));
    return total;
}

// Packets of one component of a w × h tile in one layer: its precincts over all resolutions.
uint64_t Packets(const ComponentCoding &c, uint64_t w, uint64_t h) {
    const auto shrink = [](uint64_t v, uint32_t d) { return (v + (uint64_t{1} << d) - 1) >> d; };
    uint64_t total = 0;
    for (uint32_t r = 0; r <= c.levels; ++r) {
        const uint8_t p = r < c.precincts.size() ? c.precincts[r] : 0xFF;
        const uint32_t d = c.levels - r;
        total += shrink(shrink(w, d), std::min(p & 0xF, 15)) *
                 shrink(shrink(h, d), std::min(p >> 4, 15));
    }
    return total;
}

} // namespace

uint32_t CodestreamHeader::tilesAcross() const { return CeilDiv(x1 - tileX0, tileWidth); }
uint32_t CodestreamHeader::tilesDown() const { return CeilDiv(y1 - tileY0, tileHeight); }

bool ReadCodestreamHeader(StreamBytes &bytes, uint64_t offset, uint64_t length,
                          CodestreamHeader &header, std::string &error) {
    uint8_t head[4];
    if (length < 4 || !bytes.read(offset, head, 4) || BigEndian16(head) != kStartOfCodestream ||
        BigEndian16(head + 2) != kImageAndTileSize)
        return error = "the codestream does not start with SOC and SIZ markers", false;
    std::vector<bool> byComponent;
    bool haveCoding = false;
    std::vector<uint8_t> segment;
    uint64_t at = 2;
    for (int n = 0; n < kMaxMarkers; ++n) {
        if (length - at < 4 || !bytes.read(offset + at, head, 4))
            return error = "the main header ends before the first tile", false;
        const uint16_t marker = BigEndian16(head), size = BigEndian16(head + 2);
        if (marker == kStartOfTile)
            break;
        if (size < 2 || length - at - 2 < size)
            return error = "a main header marker runs past the codestream", false;
        const bool wanted =
            marker == kImageAndTileSize || marker == kCodingDefault || marker == kCodingComponent;
        if (wanted) {
            segment.resize(size - 2);
            if (!bytes.read(offset + at + 4, segment.data(), segment.size()))
                return error = "the main header could not be read", false;
        }
        if (marker == kImageAndTileSize) {
            if (!header.components.empty() || !ParseSize(segment, header, error))
                return error.empty() ? (error = "two SIZ markers", false) : false;
            header.coding.assign(header.components.size(), {});
            byComponent.assign(header.components.size(), false);
        } else if (wanted && header.components.empty()) {
            return error = "a coding style marker before SIZ", false;
        } else if (wanted) {
            if (marker == kCodingDefault && haveCoding)
                return error = "two COD markers", false;
            haveCoding = haveCoding || marker == kCodingDefault;
            if (!ParseCoding(segment, marker == kCodingComponent, header, byComponent, error))
                return false;
        }
        at += 2 + size;
    }
    if (!haveCoding)
        return error = "the main header has no COD marker", false;
    header.levels = header.coding[0].levels;
    for (const ComponentCoding &c : header.coding)
        header.levels = std::min(header.levels, c.levels);
    return true;
}

bool CheckCodestreamLimits(const CodestreamHeader &h, uint64_t codestreamLength,
                           std::string &error) {
    const uint64_t tiles = h.tileCount();
    if (tiles > kMaxTiles)
        return error = std::to_string(tiles) + " tiles (at most " + std::to_string(kMaxTiles) +
                       " are allowed)",
               false;
    if (tiles * h.components.size() > kMaxTileComponents)
        return error = std::to_string(tiles) + " tiles of " + std::to_string(h.components.size()) +
                       " components are too many",
               false;
    if (tiles * kMinTileBytes > codestreamLength)
        return error = std::to_string(tiles) + " tiles, more than a codestream of " +
                       std::to_string(codestreamLength) + " bytes can hold",
               false;
    const uint64_t tileW = std::min<uint64_t>(h.tileWidth, h.width());
    const uint64_t tileH = std::min<uint64_t>(h.tileHeight, h.height());
    uint64_t blocks = 0;
    for (const ComponentCoding &c : h.coding)
        blocks += CodeBlocks(c, tileW, tileH);
    if (blocks > kMaxCodeBlocksPerTile)
        return error = "tiles of " + std::to_string(tileW) + " x " + std::to_string(tileH) +
                       " pixels in " + std::to_string(h.components.size()) +
                       " components have too many code-blocks to decode",
               false;
    if (blocks > kCodeBlocksAnySize && blocks > codestreamLength * 8)
        return error = "tiles of " + std::to_string(tileW) + " x " + std::to_string(tileH) +
                       " pixels have " + std::to_string(blocks) +
                       " code-blocks, more than a codestream of " +
                       std::to_string(codestreamLength) + " bytes can hold",
               false;
    uint64_t packets = 0;
    for (const ComponentCoding &c : h.coding)
        packets += Packets(c, tileW, tileH);
    packets *= h.layers;
    if (packets > kPacketsAnySize && packets > codestreamLength)
        return error = "tiles of " + std::to_string(tileW) + " x " + std::to_string(tileH) +
                       " pixels in " + std::to_string(h.layers) + " layers have " +
                       std::to_string(packets) + " packets, more than a codestream of " +
                       std::to_string(codestreamLength) + " bytes can hold",
               false;
    return true;
}

} // namespace engines::jpeg2000
