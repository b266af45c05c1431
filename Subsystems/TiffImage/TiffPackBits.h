// PackBits run-length decoding (TIFF 6.0 section 9, compression 32773).
#pragma once
#include <cstdint>
#include <span>

namespace tiff {

// Decodes `in` into `out`. False when a literal or run would write past the end of `out`, when
// the input ends inside a literal or run, or when the decoded bytes do not fill `out` exactly.
// Bytes after a full output are ignored.
bool PackBitsDecode(std::span<const uint8_t> in, std::span<uint8_t> out);

} // namespace tiff
