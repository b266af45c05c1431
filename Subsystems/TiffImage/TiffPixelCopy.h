// Moving samples between decoded blocks and the loader's output: byte order, bit order,
// bit-aligned copies and the interleaving of planes.
#pragma once
#include <cstddef>
#include <cstdint>

namespace tiff {

// Reverses the byte order of every `sampleBytes`-byte sample in place.
void SwapSamplesInPlace(unsigned char *data, size_t bytes, unsigned sampleBytes);

// Reverses the bit order of every byte in place (data stored least significant bit first).
void ReverseBitsInPlace(unsigned char *data, size_t bytes);

// Copies `bits` bits, most significant bit first, from bit `srcBit` of src to bit `dstBit` of
// dst; the other bits of dst are kept.
void CopyBits(const unsigned char *src, uint64_t srcBit, unsigned char *dst, uint64_t dstBit,
              uint64_t bits);

// Zeroes the bits of a row's last byte that follow its first `usedBits` bits.
void ClearPadBits(unsigned char *row, uint64_t usedBits);

// Spreads `count` samples of one plane into interleaved pixels: sample i of src goes to
// dst + i * pixelBytes.
void SpreadSamples(const unsigned char *src, unsigned char *dst, size_t count, unsigned sampleBytes,
                   size_t pixelBytes);

// The same for samples of `sampleBits` bits, packed most significant bit first.
void SpreadSampleBits(const unsigned char *src, uint64_t srcBit, unsigned char *dst,
                      uint64_t dstBit, size_t count, unsigned sampleBits, uint64_t pixelBits);

} // namespace tiff
