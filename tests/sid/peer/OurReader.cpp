// Reading through SidInterface for the peer comparisons.
#include "OurReader.h"

#include "SidInterface.h"
#include "shr/Strings.h"

namespace peer {

Raster ReadOurs(const std::string &path, uint32_t scale, const uint32_t *region, int format) {
    Raster image;
    SidInterface reader;
    reader.SetFormat(format);
    if (!reader.Open(Wide(path)) || !reader.SetScale(scale)) {
        image.error = "open or scale failed: " + shr::WtoA(reader.GetErrorText());
        return image;
    }
    if (region)
        reader.SetRegion(region[0], region[1], region[2], region[3]);
    image.spp = format == 5 ? 4 : format == 4 ? 3 : 1;
    image.Allocate(reader.GetWidth(), reader.GetHeight());
    std::vector<uint8_t> row(size_t{image.width} * 4);
    for (uint32_t y = 0; y < image.height; ++y) {
        if (!reader.ReadScanline(y, row.data())) {
            image.error =
                "row " + std::to_string(y) + " failed: " + shr::WtoA(reader.GetErrorText());
            return image;
        }
        // Blue first in rows; red first in the raster.
        for (uint32_t x = 0; x < image.width; ++x)
            for (uint32_t s = 0; s < image.spp; ++s)
                image.bytes[image.SampleBit(x, y, s) / 8] =
                    row[size_t{x} * image.spp + (image.spp > 1 && s < 3 ? 2 - s : s)];
    }
    return image;
}

} // namespace peer
