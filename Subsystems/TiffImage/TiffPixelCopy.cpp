// Byte and bit movers of the image loader; hot loops are specialised by sample size.
#include "TiffPixelCopy.h"

#include <array>
#include <cstring>

namespace tiff {
namespace {

template <class T> T LoadAt(const unsigned char *p) {
    T v;
    std::memcpy(&v, p, sizeof v);
    return v;
}

template <class T> void StoreAt(unsigned char *p, T v) { std::memcpy(p, &v, sizeof v); }

template <class T> void SwapAll(unsigned char *data, size_t count) {
    for (size_t i = 0; i < count; ++i) {
        unsigned char *p = data + i * sizeof(T);
        if constexpr (sizeof(T) == 2)
            StoreAt<T>(p, static_cast<T>(__builtin_bswap16(LoadAt<T>(p))));
        else if constexpr (sizeof(T) == 4)
            StoreAt<T>(p, __builtin_bswap32(LoadAt<T>(p)));
        else
            StoreAt<T>(p, __builtin_bswap64(LoadAt<T>(p)));
    }
}

constexpr std::array<unsigned char, 256> MakeBitReversal() {
    std::array<unsigned char, 256> table{};
    for (unsigned v = 0; v < 256; ++v) {
        unsigned r = 0;
        for (unsigned b = 0; b < 8; ++b)
            r |= ((v >> b) & 1u) << (7 - b);
        table[v] = static_cast<unsigned char>(r);
    }
    return table;
}
constexpr auto kBitReversal = MakeBitReversal();

unsigned GetBit(const unsigned char *p, uint64_t bit) {
    return (p[bit >> 3] >> (7 - (bit & 7))) & 1u;
}

void SetBit(unsigned char *p, uint64_t bit, unsigned value) {
    const auto mask = static_cast<unsigned char>(0x80u >> (bit & 7));
    if (value)
        p[bit >> 3] |= mask;
    else
        p[bit >> 3] &= static_cast<unsigned char>(~mask);
}

template <size_t N>
void SpreadFixed(const unsigned char *src, unsigned char *dst, size_t count, size_t pixelBytes) {
    for (size_t i = 0; i < count; ++i)
        std::memcpy(dst + i * pixelBytes, src + i * N, N);
}

} // namespace

void SwapSamplesInPlace(unsigned char *data, size_t bytes, unsigned sampleBytes) {
    switch (sampleBytes) {
    case 0:
    case 1:
        return;
    case 2:
        return SwapAll<uint16_t>(data, bytes / 2);
    case 4:
        return SwapAll<uint32_t>(data, bytes / 4);
    case 8:
        return SwapAll<uint64_t>(data, bytes / 8);
    default:
        for (size_t i = 0; i + sampleBytes <= bytes; i += sampleBytes) {
            for (size_t a = i, b = i + sampleBytes - 1; a < b; ++a, --b) {
                const unsigned char t = data[a];
                data[a] = data[b];
                data[b] = t;
            }
        }
    }
}

void ReverseBitsInPlace(unsigned char *data, size_t bytes) {
    for (size_t i = 0; i < bytes; ++i)
        data[i] = kBitReversal[data[i]];
}

void CopyBits(const unsigned char *src, uint64_t srcBit, unsigned char *dst, uint64_t dstBit,
              uint64_t bits) {
    // Bit by bit until the destination is byte aligned, whole bytes, then the remaining bits.
    for (; bits != 0 && (dstBit & 7) != 0; --bits)
        SetBit(dst, dstBit++, GetBit(src, srcBit++));
    const uint64_t bytes = bits / 8;
    unsigned char *d = dst + dstBit / 8;
    const unsigned char *s = src + srcBit / 8;
    const unsigned shift = static_cast<unsigned>(srcBit & 7);
    if (shift == 0) {
        std::memcpy(d, s, static_cast<size_t>(bytes));
    } else {
        // Both source bytes of each output byte hold requested bits, so none is read past them.
        for (uint64_t k = 0; k < bytes; ++k)
            d[k] = static_cast<unsigned char>((s[k] << shift) | (s[k + 1] >> (8 - shift)));
    }
    srcBit += bytes * 8;
    dstBit += bytes * 8;
    for (bits -= bytes * 8; bits != 0; --bits)
        SetBit(dst, dstBit++, GetBit(src, srcBit++));
}

void ClearPadBits(unsigned char *row, uint64_t usedBits) {
    const unsigned used = static_cast<unsigned>(usedBits & 7);
    if (used != 0)
        row[usedBits / 8] &= static_cast<unsigned char>(0xFFu << (8 - used));
}

void SpreadSamples(const unsigned char *src, unsigned char *dst, size_t count, unsigned sampleBytes,
                   size_t pixelBytes) {
    switch (sampleBytes) {
    case 1:
        for (size_t i = 0; i < count; ++i)
            dst[i * pixelBytes] = src[i];
        return;
    case 2:
        return SpreadFixed<2>(src, dst, count, pixelBytes);
    case 4:
        return SpreadFixed<4>(src, dst, count, pixelBytes);
    case 8:
        return SpreadFixed<8>(src, dst, count, pixelBytes);
    default:
        for (size_t i = 0; i < count; ++i)
            std::memcpy(dst + i * pixelBytes, src + i * sampleBytes, sampleBytes);
    }
}

void SpreadSampleBits(const unsigned char *src, uint64_t srcBit, unsigned char *dst,
                      uint64_t dstBit, size_t count, unsigned sampleBits, uint64_t pixelBits) {
    for (size_t i = 0; i < count; ++i)
        CopyBits(src, srcBit + uint64_t{i} * sampleBits, dst, dstBit + uint64_t{i} * pixelBits,
                 sampleBits);
}

} // namespace tiff
