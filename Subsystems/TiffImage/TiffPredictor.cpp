// Undoing the TIFF horizontal differencing and floating point predictors.
#include "TiffPredictor.h"

#include <bit>
#include <cstring>
#include <memory>
#include <new>

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

template <class T, bool Swap> void Accumulate(uint8_t *row, size_t pixels, size_t samples) {
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
