// Fuzzes SidInterface over the GeoTIFF engine: open a fuzzed file, pick a scale and region
// from its last bytes, and read every output row in two formats.
#include "SidInterface.h"
#include "engines/OpenEngines.h"

#include <cstdint>
#include <cstdio>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

const std::string &ScratchPath() {
    static const std::string path = "/tmp/fuzz_sid_read_" + std::to_string(getpid()) + ".tif";
    return path;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static const bool registered = (engines::RegisterOpenEngines(), true);
    (void)registered;
    std::FILE *file = std::fopen(ScratchPath().c_str(), "wb");
    if (file == nullptr)
        return 0;
    std::fwrite(data, 1, size, file);
    std::fclose(file);
    const uint8_t knob = size > 0 ? data[size - 1] : 0;
    SidInterface reader;
    reader.SetFormat(1 + knob % 5);
    if (!reader.Open(std::wstring(ScratchPath().begin(), ScratchPath().end())))
        return 0;
    reader.SetScale(1u << (knob % 6));
    // A window of at most 1024 x 1024 full-resolution pixels keeps each input quick.
    const uint32_t left = (knob & 0x40) ? 3 : 0, top = (knob & 0x80) ? 5 : 0;
    reader.SetRegion(left, top, left + 1023, top + 1023);
    std::vector<uint8_t> row(size_t{reader.GetWidth()} * 4 + 4);
    for (uint32_t y = 0; y < reader.GetHeight(); ++y)
        if (!reader.ReadScanline(y, row.data()))
            break;
    reader.Close();
    return 0;
}
