// Test-side encoders for image data: PackBits, Deflate and explicit LZW code streams in either
// bit order.
#pragma once
#include <cstdint>
#include <initializer_list>
#include <span>
#include <vector>

namespace testsupport {

using Bytes = std::vector<unsigned char>;

Bytes PackBitsEncode(std::span<const uint8_t> data);
Bytes DeflateEncode(std::span<const uint8_t> data);

constexpr uint32_t kLzwClear = 256;
constexpr uint32_t kLzwEoi = 257;

// Writes LZW codes at the width the decoder will read them with, following the decoder's
// table: every code but the first after a clear defines an entry.
class LzwCodeWriter {
public:
    explicit LzwCodeWriter(bool oldStyle) : old_(oldStyle) {}
    LzwCodeWriter &Put(uint32_t code);
    LzwCodeWriter &Put(std::initializer_list<uint32_t> codes);
    Bytes Finish();

private:
    bool old_;
    uint64_t acc_ = 0;
    uint32_t bits_ = 0;
    Bytes bytes_;
    uint32_t width_ = 9, nextFree_ = 258;
    bool afterClear_ = true;
};

} // namespace testsupport
