// JP2 box walking: signature, header boxes, codestream, GeoJP2 UUID and GML association boxes.
#include "Jpeg2000Boxes.h"

#include <cstring>

namespace engines::jpeg2000 {
namespace {

constexpr uint32_t BoxType(const char (&name)[5]) {
    return uint32_t(uint8_t(name[0])) << 24 | uint32_t(uint8_t(name[1])) << 16 |
           uint32_t(uint8_t(name[2])) << 8 | uint32_t(uint8_t(name[3]));
}

constexpr uint32_t kSignatureBox = BoxType("jP  ");
constexpr uint32_t kHeaderBox = BoxType("jp2h");
constexpr uint32_t kPaletteBox = BoxType("pclr");
constexpr uint32_t kComponentMapBox = BoxType("cmap");
constexpr uint32_t kChannelDefinitionBox = BoxType("cdef");
constexpr uint32_t kCodestreamBox = BoxType("jp2c");
constexpr uint32_t kUuidBox = BoxType("uuid");
constexpr uint32_t kAssociationBox = BoxType("asoc");
constexpr uint32_t kLabelBox = BoxType("lbl ");
constexpr uint32_t kXmlBox = BoxType("xml ");

// The UUID that marks a GeoJP2 box (its payload is a GeoTIFF of one pixel).
constexpr uint8_t kGeoJp2Uuid[16] = {0xb1, 0x4b, 0xf8, 0xbd, 0x08, 0x3d, 0x4b, 0x43,
                                     0xa5, 0xae, 0x8c, 0xd7, 0xd5, 0xa6, 0xce, 0x03};
constexpr uint64_t kMaxHeaderBox = 1u << 20; // header boxes are small; palettes up to 1024 x 255
constexpr int kMaxBoxes = 4096;
constexpr int kMaxDepth = 8;

struct Box {
    uint32_t type = 0;
    uint64_t start = 0; // payload
    uint64_t end = 0;
    uint64_t size() const { return end - start; }
};

std::string TypeName(uint32_t type) {
    std::string name(4, ' ');
    for (int i = 0; i < 4; ++i) {
        const char c = static_cast<char>(type >> (24 - 8 * i));
        name[i] = c >= 32 && c < 127 ? c : '?';
    }
    return name;
}

class BoxReader {
public:
    BoxReader(StreamBytes &bytes, std::string &error) : bytes_(bytes), error_(error) {}

    // The box at `at` inside a container ending at `limit`.
    bool next(uint64_t at, uint64_t limit, Box &box) {
        if (++count_ > kMaxBoxes)
            return fail("more than " + std::to_string(kMaxBoxes) + " boxes");
        uint8_t head[16];
        if (limit < at || limit - at < 8 || !bytes_.read(at, head, 8))
            return fail("a box header runs past the end of its container");
        const uint32_t length = BigEndian32(head);
        box.type = BigEndian32(head + 4);
        uint64_t size = length, headerSize = 8;
        if (length == 1) {
            if (limit - at < 16 || !bytes_.read(at + 8, head + 8, 8))
                return fail("a box header runs past the end of its container");
            size = BigEndian64(head + 8);
            headerSize = 16;
        } else if (length == 0) {
            size = limit - at; // the box runs to the end of its container
        }
        if (size < headerSize || size > limit - at)
            return fail("box '" + TypeName(box.type) + "' runs past the end of its container");
        box.start = at + headerSize;
        box.end = at + size;
        return true;
    }

    bool payload(const Box &box, uint64_t max, std::vector<uint8_t> &out) {
        if (box.size() > max)
            return fail("box '" + TypeName(box.type) + "' is larger than " + std::to_string(max) +
                        " bytes");
        out.resize(box.size());
        return out.empty() || bytes_.read(box.start, out.data(), out.size()) ||
               fail("box '" + TypeName(box.type) + "' could not be read");
    }

    bool fail(const std::string &why) {
        error_ = why;
        return false;
    }

private:
    StreamBytes &bytes_;
    std::string &error_;
    int count_ = 0;
};

bool ParsePalette(const std::vector<uint8_t> &p, Palette &palette, std::string &error) {
    if (p.size() < 3)
        return error = "palette box too short", false;
    palette.entries = BigEndian16(p.data());
    const size_t columns = p[2];
    if (palette.entries == 0 || palette.entries > 1024 || columns == 0 || p.size() < 3 + columns)
        return error = "palette box with " + std::to_string(palette.entries) + " entries and " +
                       std::to_string(columns) + " columns",
               false;
    size_t rowBytes = 0;
    for (size_t c = 0; c < columns; ++c) {
        palette.bits.push_back(static_cast<uint8_t>((p[3 + c] & 0x7F) + 1));
        palette.isSigned.push_back((p[3 + c] & 0x80) != 0);
        if (palette.bits.back() > 32)
            return error = "palette column deeper than 32 bits", false;
        rowBytes += (palette.bits.back() + 7) / 8;
    }
    if (p.size() < 3 + columns + rowBytes * palette.entries)
        return error = "palette box shorter than its entries", false;
    size_t at = 3 + columns;
    for (uint32_t e = 0; e < palette.entries; ++e)
        for (size_t c = 0; c < columns; ++c) {
            const size_t n = (palette.bits[c] + 7) / 8;
            uint64_t v = 0;
            for (size_t i = 0; i < n; ++i)
                v = v << 8 | p[at++];
            v &= palette.bits[c] == 64 ? ~0ull : (1ull << palette.bits[c]) - 1;
            int64_t value = static_cast<int64_t>(v);
            if (palette.isSigned[c] && (v >> (palette.bits[c] - 1)) & 1)
                value -= int64_t{1} << palette.bits[c];
            palette.values.push_back(static_cast<int32_t>(value));
        }
    return true;
}

void ParseComponentMap(const std::vector<uint8_t> &p, std::vector<ChannelMapping> &mappings) {
    for (size_t at = 0; at + 4 <= p.size(); at += 4)
        mappings.push_back({BigEndian16(&p[at]), p[at + 2] == 1, p[at + 3]});
}

void ParseChannelDefinitions(const std::vector<uint8_t> &p, std::vector<ChannelDefinition> &defs) {
    if (p.size() < 2)
        return;
    const size_t n = BigEndian16(p.data());
    for (size_t i = 0; i < n && 2 + 6 * i + 6 <= p.size(); ++i) {
        const uint8_t *d = &p[2 + 6 * i];
        defs.push_back({BigEndian16(d), BigEndian16(d + 2), BigEndian16(d + 4)});
    }
}

bool ReadHeaderBox(BoxReader &reader, const Box &header, Jp2Boxes &boxes, std::string &error) {
    std::vector<uint8_t> p;
    for (uint64_t at = header.start; at < header.end;) {
        Box box;
        if (!reader.next(at, header.end, box))
            return false;
        at = box.end;
        const uint32_t t = box.type;
        if (t != kPaletteBox && t != kComponentMapBox && t != kChannelDefinitionBox)
            continue;
        if (!reader.payload(box, kMaxHeaderBox, p))
            return false;
        if (t == kPaletteBox && !boxes.hasPalette) {
            if (!ParsePalette(p, boxes.palette, error))
                return false;
            boxes.hasPalette = true;
        } else if (t == kComponentMapBox && boxes.mappings.empty())
            ParseComponentMap(p, boxes.mappings);
        else if (t == kChannelDefinitionBox && boxes.definitions.empty())
            ParseChannelDefinitions(p, boxes.definitions);
    }
    return true;
}

// GMLJP2 keeps its root instance in an association box: a label "gml.root-instance" followed
// by the XML box, usually nested in an association labelled "gml.data".
bool ReadAssociation(BoxReader &reader, const Box &asoc, int depth, Jp2Boxes &boxes) {
    if (depth > kMaxDepth)
        return true;
    std::string label;
    std::vector<uint8_t> p;
    for (uint64_t at = asoc.start; at < asoc.end && boxes.gmlRootInstance.empty();) {
        Box box;
        if (!reader.next(at, asoc.end, box))
            return false;
        at = box.end;
        if (box.type == kLabelBox && reader.payload(box, 256, p)) {
            label.assign(p.begin(), p.end());
            while (!label.empty() && label.back() == '\0')
                label.pop_back(); // writers may end the label with a NUL
        } else if (box.type == kXmlBox && label == "gml.root-instance" &&
                   reader.payload(box, kMaxGeoPayload, p))
            boxes.gmlRootInstance.assign(p.begin(), p.end());
        else if (box.type == kAssociationBox && !ReadAssociation(reader, box, depth + 1, boxes))
            return false;
    }
    return true;
}

void ReadUuid(BoxReader &reader, const Box &box, Jp2Boxes &boxes) {
    std::vector<uint8_t> p;
    if (!boxes.geoJp2.empty() || box.size() <= 16 || !reader.payload(box, kMaxGeoPayload, p))
        return;
    if (std::memcmp(p.data(), kGeoJp2Uuid, 16) == 0)
        boxes.geoJp2.assign(p.begin() + 16, p.end());
}

} // namespace

bool ReadJp2Boxes(StreamBytes &bytes, Jp2Boxes &boxes, std::string &error) {
    uint64_t length = 0;
    uint8_t start[12] = {};
    if (!bytes.length(length) || !bytes.read(0, start, length < 12 ? length : 12))
        return error = "the file could not be read", false;
    if (length >= 2 && start[0] == 0xFF && start[1] == 0x4F) {
        boxes.codestreamOffset = 0;
        boxes.codestreamLength = length;
        return true;
    }
    BoxReader reader(bytes, error);
    Box box;
    if (!reader.next(0, length, box) || box.type != kSignatureBox || box.size() != 4 ||
        BigEndian32(start + 8) != 0x0D0A870A)
        return error = "no JP2 signature box", false;
    boxes.isJp2 = true;
    bool haveCodestream = false;
    for (uint64_t at = box.end; at < length;) {
        if (!reader.next(at, length, box)) {
            if (haveCodestream)
                break; // what follows the codestream is not needed to decode it
            return false;
        }
        at = box.end;
        if (box.type == kHeaderBox && !ReadHeaderBox(reader, box, boxes, error))
            return false;
        if (box.type == kCodestreamBox && !haveCodestream) {
            boxes.codestreamOffset = box.start;
            boxes.codestreamLength = box.size();
            haveCodestream = true;
        } else if (box.type == kUuidBox) {
            ReadUuid(reader, box, boxes);
        } else if (box.type == kAssociationBox && boxes.gmlRootInstance.empty()) {
            ReadAssociation(reader, box, 0, boxes);
        }
    }
    if (!haveCodestream)
        return error = "no codestream box in the JP2 file", false;
    error.clear(); // failures inside optional boxes are not the file's fault
    return true;
}

} // namespace engines::jpeg2000
