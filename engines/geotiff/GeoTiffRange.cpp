// GDAL's statistics and nodata tags, and the sample scan.
#include "GeoTiffRange.h"

#include "lti/SampleOps.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <new>

namespace engines::geotiff {
namespace {

bool IsSpace(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

std::string_view Trim(std::string_view s) {
    while (!s.empty() && IsSpace(s.front()))
        s.remove_prefix(1);
    while (!s.empty() && IsSpace(s.back()))
        s.remove_suffix(1);
    return s;
}

// A whole finite number, nothing else around it but spaces (whatever the C locale says).
std::optional<double> Number(std::string_view text) {
    const std::string_view s = Trim(text);
    double v = 0.0;
    const auto [end, error] = std::from_chars(s.data(), s.data() + s.size(), v);
    if (s.empty() || error != std::errc() || end != s.data() + s.size() || !std::isfinite(v))
        return std::nullopt;
    return v;
}

// The value of attribute `name` in an element's opening tag text; none when absent or unquoted.
std::optional<std::string_view> Attribute(std::string_view tag, std::string_view name) {
    for (size_t at = tag.find(name); at != std::string_view::npos; at = tag.find(name, at + 1)) {
        if (at == 0 || !IsSpace(tag[at - 1]))
            continue;
        size_t p = at + name.size();
        while (p < tag.size() && IsSpace(tag[p]))
            ++p;
        if (p >= tag.size() || tag[p] != '=')
            continue;
        ++p;
        while (p < tag.size() && IsSpace(tag[p]))
            ++p;
        if (p >= tag.size() || (tag[p] != '"' && tag[p] != '\''))
            return std::nullopt;
        const size_t close = tag.find(tag[p], p + 1);
        if (close == std::string_view::npos)
            return std::nullopt;
        return tag.substr(p + 1, close - p - 1);
    }
    return std::nullopt;
}

} // namespace

std::vector<BandRange> ParseGdalStatistics(std::string_view xml, uint16_t bands) {
    std::vector<BandRange> ranges(bands);
    std::vector<std::optional<double>> lo(bands), hi(bands);
    const std::string_view body = Trim(xml);
    constexpr std::string_view kOpen = "<GDALMetadata>", kClose = "</GDALMetadata>";
    if (body.substr(0, kOpen.size()) != kOpen || body.size() < kOpen.size() + kClose.size() ||
        body.substr(body.size() - kClose.size()) != kClose)
        return ranges;
    for (size_t at = body.find("<Item"); at != std::string_view::npos;
         at = body.find("<Item", at + 1)) {
        const size_t tagEnd = body.find('>', at);
        const size_t close = body.find("</Item>", at);
        if (tagEnd == std::string_view::npos || close == std::string_view::npos || close < tagEnd)
            return std::vector<BandRange>(bands);
        const std::string_view tag = body.substr(at + 5, tagEnd - at - 5);
        if (!tag.empty() && tag.back() == '/')
            continue; // an empty item
        const auto name = Attribute(tag, "name");
        const auto sample = Attribute(tag, "sample");
        if (!name || !sample)
            continue; // dataset items, or items of other kinds
        const bool isMin = *name == "STATISTICS_MINIMUM", isMax = *name == "STATISTICS_MAXIMUM";
        const auto band = Number(*sample);
        if (!(isMin || isMax) || !band || *band < 0 || *band >= bands || *band != std::floor(*band))
            continue;
        const auto value = Number(body.substr(tagEnd + 1, close - tagEnd - 1));
        (isMin ? lo : hi)[static_cast<size_t>(*band)] = value;
    }
    for (uint16_t b = 0; b < bands; ++b)
        if (lo[b] && hi[b] && *lo[b] <= *hi[b])
            ranges[b] = {true, *lo[b], *hi[b]};
    return ranges;
}

std::optional<double> ParseGdalNoData(std::string_view text) {
    // Nodata may be NaN, which no sample equals anyway; only finite values are kept.
    return Number(text);
}

void BandRangeScan::add(uint16_t band, double value) {
    if (band >= ranges_.size() || !std::isfinite(value) || (nodata_ && value == *nodata_))
        return;
    BandRange &r = ranges_[band];
    if (!r.known)
        r = {true, value, value};
    r.min = std::min(r.min, value);
    r.max = std::max(r.max, value);
}

std::vector<BandRange> ScanLevelRanges(GeoTiffLevelReader &reader, const LTIPixel &pixel,
                                       std::optional<double> nodata) {
    constexpr uint64_t kScanPixels = 1u << 20;
    const tiff::TiffImageInfo &info = reader.info();
    const uint16_t bands = pixel.getNumBands();
    BandRangeScan scan(bands, nodata);
    uint32_t step = 1;
    while (uint64_t{(info.width + step - 1) / step} * ((info.height + step - 1) / step) >
           kScanPixels)
        step *= 2;
    try {
        LTISceneBuffer row(pixel, info.width, 1);
        for (uint32_t y = 0; y < info.height; y += step) {
            if (reader.readRect(0, y, info.width, 1, row) != LT_STS_Success)
                return std::vector<BandRange>(bands); // decoding will say what is wrong
            for (uint16_t b = 0; b < bands; ++b)
                detail::DispatchDataType(pixel.getDataType(), [&](auto t) {
                    const auto *samples = reinterpret_cast<const decltype(t) *>(row.getRow(b, 0));
                    for (uint32_t x = 0; x < info.width; x += step)
                        scan.add(b, static_cast<double>(samples[x]));
                });
        }
    } catch (const std::bad_alloc &) {
        return std::vector<BandRange>(bands);
    }
    return scan.ranges();
}

} // namespace engines::geotiff
