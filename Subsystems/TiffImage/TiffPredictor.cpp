// Undoing the TIFF horizontal differencing and floating point predictors.
#include "TiffPredictor.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <memory>
#include <new>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace tiff {
namespace {

template <class T> T Reverse(T v) {
    if constexpr (sizeof(T) == 2)
        return static_cast<T>(__builtin_bswap16(v));
    else if constexpr (sizeof(T) == 4)
        return static_cast<T>(__builtin_bswap32(v));
    else
        return v;
}

template <class T, bool Swap> T Load(const uint8_t *p) {
    T v;
    std::memcpy(&v, p, sizeof v);
    return Swap ? Reverse(v) : v;
}

template <class T, bool Swap> void Store(uint8_t *p, T v) {
    if constexpr (Swap)
        v = Reverse(v);
    std::memcpy(p, &v, sizeof v);
}

// The running sums of a fixed number of samples stay in registers.
template <class T, bool Swap, size_t S> void AccumulateFixed(uint8_t *row, size_t pixels) {
    T sum[S];
#pragma GCC unroll 4
    for (size_t s = 0; s < S; ++s)
        sum[s] = Load<T, Swap>(row + s * sizeof(T));
    uint8_t *p = row + S * sizeof(T);
    for (size_t i = 1; i < pixels; ++i) {
#pragma GCC unroll 4
        for (size_t s = 0; s < S; ++s, p += sizeof(T)) {
            sum[s] = static_cast<T>(sum[s] + Load<T, Swap>(p));
            Store<T, Swap>(p, sum[s]);
        }
    }
}

template <class T, bool Swap> void AccumulateAny(uint8_t *row, size_t pixels, size_t samples) {
    const size_t stride = samples * sizeof(T);
    uint8_t *const end = row + pixels * stride;
    for (uint8_t *p = row + stride; p < end; p += sizeof(T))
        Store<T, Swap>(p, static_cast<T>(Load<T, Swap>(p) + Load<T, Swap>(p - stride)));
}

#if defined(__SSE2__)
// Running sums 16 bytes at a time for pixels of G = 1, 2, 4 or 8 bytes whose samples are E-byte
// machine-order integers: sums within the vector in log steps, then the previous vector's last
// pixel added to every pixel.
template <size_t E> __m128i AddLanes(__m128i a, __m128i b) {
    if constexpr (E == 1)
        return _mm_add_epi8(a, b);
    else if constexpr (E == 2)
        return _mm_add_epi16(a, b);
    else
        return _mm_add_epi32(a, b);
}

template <size_t E, size_t G> __m128i RunningSums(__m128i v) {
    v = AddLanes<E>(v, _mm_slli_si128(v, G));
    if constexpr (2 * G < 16)
        v = AddLanes<E>(v, _mm_slli_si128(v, 2 * G));
    if constexpr (4 * G < 16)
        v = AddLanes<E>(v, _mm_slli_si128(v, 4 * G));
    if constexpr (8 * G < 16)
        v = AddLanes<E>(v, _mm_slli_si128(v, 8 * G));
    return v;
}

// The vector's last pixel in every pixel position.
template <size_t G> __m128i LastPixelEverywhere(__m128i v) {
    if constexpr (G == 1) {
        v = _mm_unpackhi_epi8(v, v);
        v = _mm_shufflehi_epi16(v, 0xFF);
        return _mm_shuffle_epi32(v, 0xFF);
    } else if constexpr (G == 2) {
        return _mm_shuffle_epi32(_mm_shufflehi_epi16(v, 0xFF), 0xFF);
    } else if constexpr (G == 4) {
        return _mm_shuffle_epi32(v, 0xFF);
    } else {
        return _mm_shuffle_epi32(v, 0xEE);
    }
}

template <class T, size_t G> void AccumulateVectors(uint8_t *row, size_t bytes) {
    __m128i carry = _mm_setzero_si128();
    size_t i = 0;
    for (; i + 16 <= bytes; i += 16) {
        auto *p = reinterpret_cast<__m128i *>(row + i);
        const __m128i sums = RunningSums<sizeof(T), G>(_mm_loadu_si128(p));
        _mm_storeu_si128(p, AddLanes<sizeof(T)>(sums, carry));
        // The carry grows by the block's own sums, which do not wait for the carry.
        carry = AddLanes<sizeof(T)>(carry, LastPixelEverywhere<G>(sums));
    }
    for (i = std::max(i, G); i < bytes; i += sizeof(T))
        Store<T, false>(row + i,
                        static_cast<T>(Load<T, false>(row + i) + Load<T, false>(row + i - G)));
}

// Three-byte pixels (8-bit RGB): blocks of five pixels, 16 bytes loaded and stored at a time
// with the 16th byte stored back untouched. Each block is loaded before the previous one is
// stored, since a load that overlaps a pending store stalls. The sums carried from block to
// block are built off the chain: each block adds its own pixel sums, repeated, to the carry.
class ThreeByteBlocks {
public:
    // Running sums of one block, stored at `p`; `in` was loaded from there.
    void Store(uint8_t *p, __m128i in) {
        __m128i v = _mm_add_epi8(in, _mm_slli_si128(in, 3));
        v = _mm_add_epi8(v, _mm_slli_si128(v, 6));
        v = _mm_add_epi8(v, _mm_slli_si128(v, 12));
        __m128i sums = _mm_and_si128(_mm_srli_si128(v, 12), onePixel_);
        sums = _mm_or_si128(sums, _mm_slli_si128(sums, 3));
        sums = _mm_or_si128(sums, _mm_slli_si128(sums, 6));
        sums = _mm_or_si128(sums, _mm_slli_si128(sums, 12));
        v = _mm_add_epi8(v, carry_);
        _mm_storeu_si128(reinterpret_cast<__m128i *>(p),
                         _mm_or_si128(_mm_and_si128(block_, v), _mm_andnot_si128(block_, in)));
        carry_ = _mm_add_epi8(carry_, sums);
    }

private:
    const __m128i block_ =
        _mm_setr_epi8(-1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, 0);
    const __m128i onePixel_ = _mm_setr_epi8(-1, -1, -1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0);
    __m128i carry_ = _mm_setzero_si128();
};

void AccumulateThreeByteVectors(uint8_t *row, size_t bytes) {
    const auto load = [row](size_t at) {
        return _mm_loadu_si128(reinterpret_cast<const __m128i *>(row + at));
    };
    ThreeByteBlocks blocks;
    size_t i = 0;
    if (bytes >= 16) {
        __m128i in = load(0);
        for (; i + 31 <= bytes; i += 15) {
            const __m128i next = load(i + 15);
            blocks.Store(row + i, in);
            in = next;
        }
        blocks.Store(row + i, in);
        i += 15;
    }
    for (i = std::max<size_t>(i, 3); i < bytes; ++i)
        row[i] = static_cast<uint8_t>(row[i] + row[i - 3]);
}
#endif

template <class T, bool Swap> void Accumulate(uint8_t *row, size_t pixels, size_t samples) {
#if defined(__SSE2__)
    if constexpr (!Swap) {
        switch (samples * sizeof(T)) {
        case 1:
            return AccumulateVectors<T, 1>(row, pixels);
        case 2:
            return AccumulateVectors<T, 2>(row, pixels * 2);
        case 4:
            return AccumulateVectors<T, 4>(row, pixels * 4);
        case 8:
            return AccumulateVectors<T, 8>(row, pixels * 8);
        case 3:
            return AccumulateThreeByteVectors(row, pixels * 3);
        default:
            break;
        }
    }
#endif
    switch (samples) {
    case 1:
        return AccumulateFixed<T, Swap, 1>(row, pixels);
    case 2:
        return AccumulateFixed<T, Swap, 2>(row, pixels);
    case 3:
        return AccumulateFixed<T, Swap, 3>(row, pixels);
    case 4:
        return AccumulateFixed<T, Swap, 4>(row, pixels);
    default:
        return AccumulateAny<T, Swap>(row, pixels, samples);
    }
}

template <class T> void AccumulateInOrder(uint8_t *row, size_t pixels, size_t samples, bool big) {
    if (big != (std::endian::native == std::endian::big))
        Accumulate<T, true>(row, pixels, samples);
    else
        Accumulate<T, false>(row, pixels, samples);
}

// Value i's byte b (0 = least significant) comes from plane (Bytes - 1 - b), position i.
template <size_t Bytes> void RegroupPlanes(uint8_t *row, const uint8_t *planes, size_t values) {
    for (size_t i = 0; i < values; ++i) {
        uint8_t *value = row + i * Bytes;
        for (size_t b = 0; b < Bytes; ++b)
            value[b] = planes[(Bytes - 1 - b) * values + i];
    }
}

} // namespace

bool UndoHorizontalDifferencing(uint8_t *row, size_t pixels, uint32_t samples,
                                uint32_t bitsPerSample, bool bigEndian) {
    if (samples == 0)
        return false;
    switch (bitsPerSample) {
    case 8:
        Accumulate<uint8_t, false>(row, pixels, samples);
        return true;
    case 16:
        AccumulateInOrder<uint16_t>(row, pixels, samples, bigEndian);
        return true;
    case 32:
        AccumulateInOrder<uint32_t>(row, pixels, samples, bigEndian);
        return true;
    default:
        return false;
    }
}

bool UndoFloatingPointPredictor(uint8_t *row, size_t pixels, uint32_t samples,
                                uint32_t bitsPerSample, uint8_t *scratch) {
    if ((bitsPerSample != 32 && bitsPerSample != 64) || samples == 0)
        return false;
    const size_t bytes = bitsPerSample / 8;
    const size_t values = pixels * samples;
    // Byte differences run over the whole row with a stride of one pixel's worth of planes.
    Accumulate<uint8_t, false>(row, pixels * bytes, samples);
    std::memcpy(scratch, row, values * bytes);
    if (bytes == 4)
        RegroupPlanes<4>(row, scratch, values);
    else
        RegroupPlanes<8>(row, scratch, values);
    return true;
}

bool UndoPredictor(uint32_t predictor, const PredictorRows &r) {
    if (predictor == kPredictorHorizontal) {
        for (uint32_t y = 0; y < r.rows; ++y) {
            if (!UndoHorizontalDifferencing(r.data + y * r.bytesPerRow, r.pixelsPerRow,
                                            r.samplesPerPixel, r.bitsPerSample, r.bigEndian))
                return false;
        }
        return true;
    }
    if (predictor == kPredictorFloatingPoint) {
        std::unique_ptr<uint8_t[]> scratch(new (std::nothrow) uint8_t[r.bytesPerRow]);
        if (!scratch)
            return false;
        for (uint32_t y = 0; y < r.rows; ++y) {
            if (!UndoFloatingPointPredictor(r.data + y * r.bytesPerRow, r.pixelsPerRow,
                                            r.samplesPerPixel, r.bitsPerSample, scratch.get()))
                return false;
        }
    }
    return true;
}

} // namespace tiff
