// Channels from components, palette columns and channel definitions.
#include "Jpeg2000Channels.h"

#include <algorithm>

namespace engines::jpeg2000 {
namespace {

using namespace LizardTech;

constexpr uint16_t kColour = 0, kOpacity = 1, kPremultipliedOpacity = 2, kUnspecified = 0xFFFF;
constexpr uint16_t kUnassociated = 0xFFFF;

struct Channel {
    BandSource source;
    uint32_t bits = 0;
    bool isSigned = false;
};

bool ListChannels(const Jp2Boxes &boxes, const CodestreamHeader &header,
                  std::vector<Channel> &channels, std::string &error) {
    const auto &comps = header.components;
    if (boxes.mappings.empty()) {
        if (boxes.hasPalette)
            return error = "a palette without a component mapping", false;
        for (size_t c = 0; c < comps.size(); ++c)
            channels.push_back({{static_cast<uint16_t>(c), -1}, comps[c].bits, comps[c].isSigned});
        return true;
    }
    for (const ChannelMapping &m : boxes.mappings) {
        if (m.component >= comps.size())
            return error = "the component mapping names component " + std::to_string(m.component) +
                           " of " + std::to_string(comps.size()),
                   false;
        if (!m.viaPalette) {
            channels.push_back(
                {{m.component, -1}, comps[m.component].bits, comps[m.component].isSigned});
            continue;
        }
        if (!boxes.hasPalette || m.column >= boxes.palette.bits.size())
            return error = "the component mapping names a palette column that is not there", false;
        channels.push_back({{m.component, m.column},
                            boxes.palette.bits[m.column],
                            boxes.palette.isSigned[m.column]});
    }
    return true;
}

const ChannelDefinition *DefinitionOf(const Jp2Boxes &boxes, size_t channel) {
    for (const ChannelDefinition &d : boxes.definitions)
        if (d.channel == channel)
            return &d;
    return nullptr;
}

// Colour channels by association, those of unspecified type or association in their order,
// then one alpha; false when the definitions say something else.
bool OrderByDefinitions(const Jp2Boxes &boxes, std::vector<Channel> &channels, bool &alpha) {
    std::vector<std::pair<uint32_t, size_t>> order; // rank, channel
    int alphaChannel = -1;
    for (size_t i = 0; i < channels.size(); ++i) {
        const ChannelDefinition *d = DefinitionOf(boxes, i);
        if (d == nullptr)
            return false;
        if (d->type == kColour && d->association >= 1 && d->association != kUnassociated)
            order.push_back({d->association, i});
        else if (d->type == kUnspecified || d->type == kColour)
            order.push_back({0x10000 + static_cast<uint32_t>(i), i});
        else if ((d->type == kOpacity || d->type == kPremultipliedOpacity) && d->association == 0 &&
                 alphaChannel < 0)
            alphaChannel = static_cast<int>(i);
        else
            return false;
    }
    std::sort(order.begin(), order.end());
    for (size_t k = 0; k < order.size(); ++k)
        if (order[k].first < 0x10000 && order[k].first != k + 1)
            return false; // associations must be 1, 2, ... n
    std::vector<Channel> ordered;
    for (const auto &c : order)
        ordered.push_back(channels[c.second]);
    if (alphaChannel >= 0)
        ordered.push_back(channels[static_cast<size_t>(alphaChannel)]);
    channels = std::move(ordered);
    alpha = alphaChannel >= 0;
    return true;
}

// One colour is grey and three are RGB whatever the colour box says (writers label bands
// of unknown meaning grey); other counts are bands without colour meaning.
LTIColorSpace ColorSpaceOf(size_t bands, bool alpha) {
    const size_t colours = bands - (alpha ? 1 : 0);
    if (colours == 1)
        return alpha ? LTI_COLORSPACE_GRAYSCALEA : LTI_COLORSPACE_GRAYSCALE;
    if (colours == 3)
        return alpha ? LTI_COLORSPACE_RGBA : LTI_COLORSPACE_RGB;
    return LTI_COLORSPACE_MULTISPECTRAL;
}
} // namespace

bool DescribeBands(const Jp2Boxes &boxes, const CodestreamHeader &header, BandLayout &layout,
                   std::string &error) {
    for (size_t c = 0; c < header.components.size(); ++c)
        if (header.components[c].dx != 1 || header.components[c].dy != 1)
            return error = "component " + std::to_string(c) +
                           " is subsampled; subsampled components are not decoded",
                   false;
    std::vector<Channel> channels;
    if (!ListChannels(boxes, header, channels, error))
        return false;
    if (channels.empty() || channels.size() > 0xFFFF)
        return error = std::to_string(channels.size()) + " channels", false;
    for (const Channel &ch : channels)
        if (ch.bits != channels[0].bits || ch.isSigned != channels[0].isSigned)
            return error = "channels of different depths or signedness", false;
    layout.bits = channels[0].bits;
    layout.isSigned = channels[0].isSigned;
    if (layout.bits > 16)
        return error = std::to_string(layout.bits) +
                       "-bit samples (samples of up to 16 bits are decoded)",
               false;
    bool alpha = false;
    if (boxes.definitions.empty() || !OrderByDefinitions(boxes, channels, alpha))
        alpha = false;
    for (const Channel &ch : channels)
        layout.bands.push_back(ch.source);
    layout.colorSpace = ColorSpaceOf(channels.size(), alpha);
    if (layout.bits <= 8)
        layout.dataType = layout.isSigned ? LTI_DATATYPE_SINT8 : LTI_DATATYPE_UINT8;
    else
        layout.dataType = layout.isSigned ? LTI_DATATYPE_SINT16 : LTI_DATATYPE_UINT16;
    return true;
}

} // namespace engines::jpeg2000
