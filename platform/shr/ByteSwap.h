// Byte-order reversal of 2, 4 and 8-byte values, single and in place over buffers.
#pragma once
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace shr {

inline uint16_t ByteSwap(uint16_t v) { return static_cast<uint16_t>((v >> 8) | (v << 8)); }
inline uint32_t ByteSwap(uint32_t v) { return __builtin_bswap32(v); }
inline uint64_t ByteSwap(uint64_t v) { return __builtin_bswap64(v); }
inline int16_t ByteSwap(int16_t v) { return static_cast<int16_t>(ByteSwap(static_cast<uint16_t>(v))); }
inline int32_t ByteSwap(int32_t v) { return static_cast<int32_t>(ByteSwap(static_cast<uint32_t>(v))); }
inline int64_t ByteSwap(int64_t v) { return static_cast<int64_t>(ByteSwap(static_cast<uint64_t>(v))); }

// Reverses each of `count` elements of `elementSize` bytes (1, 2, 4 or 8) in place.
inline void ByteSwapArray(void* data, size_t elementSize, size_t count) {
    auto* p = static_cast<unsigned char*>(data);
    for (size_t i = 0; i < count; ++i, p += elementSize) {
        for (size_t a = 0, b = elementSize - 1; a < b; ++a, --b) {
            const unsigned char t = p[a];
            p[a] = p[b];
            p[b] = t;
        }
    }
}

} // namespace shr
