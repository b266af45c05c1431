// Per-band sample ranges of images wider than 8 bits: the statistics GDAL writes into its
// metadata tag, and the scan of samples that stands in when a file carries none.
#pragma once
#include "GeoTiffLevels.h"

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace engines::geotiff {

struct BandRange {
    bool known = false;
    double min = 0.0, max = 0.0;
};

// STATISTICS_MINIMUM and STATISTICS_MAXIMUM items of `xml` for bands 0 .. bands - 1. A band
// is known when both are finite numbers with min <= max; every band is unknown when the XML
// is malformed.
std::vector<BandRange> ParseGdalStatistics(std::string_view xml, uint16_t bands);

// The nodata value of GDAL's tag; none when the text is not one number.
std::optional<double> ParseGdalNoData(std::string_view text);

// The extent of each band's samples, leaving out the nodata value, NaN and infinities.
class BandRangeScan {
public:
    BandRangeScan(uint16_t bands, std::optional<double> nodata)
        : ranges_(bands), nodata_(nodata) {}

    void add(uint16_t band, double value);
    // Bands with no sample counted stay unknown.
    const std::vector<BandRange> &ranges() const { return ranges_; }

private:
    std::vector<BandRange> ranges_;
    std::optional<double> nodata_;
};

// The extent of each band's samples in the level `reader` reads, from every step-th row and
// column, the step a power of two keeping the count near a million: sampled, not averaged, so
// that nodata never blends into a value. Every band unknown when the level cannot be read.
std::vector<BandRange> ScanLevelRanges(GeoTiffLevelReader &reader, const LTIPixel &pixel,
                                       std::optional<double> nodata);

} // namespace engines::geotiff
