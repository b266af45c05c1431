// Per-band sample ranges of images wider than 8 bits: the statistics GDAL writes into its
// metadata tag, and the scan of samples that stands in when a file carries none.
#pragma once
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace engines::geotiff {

constexpr uint16_t kTagGdalMetadata = 42112; // GDAL's metadata XML (ASCII)
constexpr uint16_t kTagGdalNoData = 42113;   // GDAL's nodata value (ASCII number)

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

} // namespace engines::geotiff
