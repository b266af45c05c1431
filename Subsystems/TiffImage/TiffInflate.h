// Deflate (compressions 8 and 32946): zlib-wrapped streams decoded in one call.
#pragma once
#include <cstdint>
#include <span>

namespace tiff {

// Decodes `in` into `out`. False when the stream is corrupt (checksum included) or decodes to
// any length but exactly `out`'s: a stream holding more than the strip does not fit.
bool Inflate(std::span<const uint8_t> in, std::span<uint8_t> out);

} // namespace tiff
