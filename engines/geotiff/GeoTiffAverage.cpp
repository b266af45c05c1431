// Averaging of a level to a coarser scale: level rows are read in bounded chunks and summed
// into one accumulator per output pixel and band.
#include "GeoTiffAverage.h"

#include "lti/LTIUtils.h"
#include "lti/SampleOps.h"

#include <algorithm>
#include <type_traits>
#include <vector>

namespace engines::geotiff {

using namespace LizardTech; // the seam the engine implements

namespace {

// Level rows are read about this many bytes at a time (at least one row).
constexpr uint64_t kChunkBytes = 2u << 20;

// Level pixels [first, end) along one axis.
struct Span {
    uint32_t first, end;
    uint32_t count() const { return end - first; }
};

// The level pixels behind the output pixel whose block starts at `start`, on an axis `limit`
// pixels long: the block clipped to the level, or the last pixel when it lies beyond.
Span SpanOf(uint64_t start, uint32_t k, uint32_t limit) {
    const uint64_t first = std::min<uint64_t>(start, limit - 1);
    const uint64_t end = std::max<uint64_t>(first + 1, std::min<uint64_t>(start + k, limit));
    return {static_cast<uint32_t>(first), static_cast<uint32_t>(end)};
}

template <class T> void AddRowMeans(const T *src, const std::vector<Span> &columns, double *sums) {
    for (size_t ox = 0; ox < columns.size(); ++ox) {
        const Span c = columns[ox];
        double s = 0.0;
        for (uint32_t x = c.first; x < c.end; ++x)
            s += static_cast<double>(src[x]);
        sums[ox] += s / c.count();
    }
}

template <class T>
void StoreMeans(const double *sums, size_t width, uint32_t rowCount, double lo, double hi, T *dst) {
    for (size_t ox = 0; ox < width; ++ox) {
        const double mean = sums[ox] / rowCount;
        if constexpr (std::is_floating_point_v<T>)
            dst[ox] = static_cast<T>(mean); // NaN and infinities stay what they are
        else
            dst[ox] = detail::ClampTo<T>(mean, lo, hi);
    }
}

// The sums of one output row: per band and output pixel, the means of the level rows added.
class RowSums {
public:
    // `columns` are relative to the first column of the rows that will be added.
    RowSums(const LTIPixel &pixel, std::vector<Span> columns)
        : pixel_(pixel), columns_(std::move(columns)),
          sums_(columns_.size() * pixel.getNumBands()) {}

    void clear() { std::fill(sums_.begin(), sums_.end(), 0.0); }

    void add(const LTISceneBuffer &rows, uint32_t row) {
        for (uint16_t b = 0; b < pixel_.getNumBands(); ++b)
            detail::DispatchDataType(pixel_.getDataType(), [&](auto t) {
                using T = decltype(t);
                AddRowMeans(reinterpret_cast<const T *>(rows.getRow(b, row)), columns_, plane(b));
            });
    }

    void store(LTISceneBuffer &out, uint32_t outRow, uint32_t rowCount) const {
        const LTIDataType type = pixel_.getDataType();
        const double lo = LTIUtils::getTypeMin(type), hi = LTIUtils::getTypeMax(type);
        for (uint16_t b = 0; b < pixel_.getNumBands(); ++b)
            detail::DispatchDataType(type, [&](auto t) {
                using T = decltype(t);
                StoreMeans(plane(b), columns_.size(), rowCount, lo, hi,
                           reinterpret_cast<T *>(out.getRow(b, outRow)));
            });
    }

private:
    double *plane(uint16_t band) { return sums_.data() + band * columns_.size(); }
    const double *plane(uint16_t band) const { return sums_.data() + band * columns_.size(); }

    LTIPixel pixel_;
    std::vector<Span> columns_;
    std::vector<double> sums_;
};

// Level rows of columns [left, left + width), read forward a chunk at a time up to `end`.
class RowChunks {
public:
    RowChunks(GeoTiffLevelReader &reader, const LTIPixel &pixel, Span columns, Span rows)
        : reader_(reader), left_(columns.first), end_(rows.end),
          capacity_(ChunkRows(pixel, columns.count(), rows.count())),
          rows_(pixel, columns.count(), capacity_) {}

    // Makes level row `row` (before the end) available as rows() row index(row).
    LT_STATUS fetch(uint32_t row) {
        if (row >= top_ && row - top_ < count_)
            return LT_STS_Success;
        top_ = row;
        count_ = std::min(capacity_, end_ - row);
        return reader_.readRect(left_, top_, rows_.getNumCols(), count_, rows_);
    }
    const LTISceneBuffer &rows() const { return rows_; }
    uint32_t index(uint32_t row) const { return row - top_; }

private:
    static uint32_t ChunkRows(const LTIPixel &pixel, uint32_t width, uint32_t rowsNeeded) {
        const uint64_t rowBytes =
            uint64_t{width} * pixel.getNumBands() * pixel.getNumBytesPerSample();
        return static_cast<uint32_t>(std::clamp<uint64_t>(kChunkBytes / rowBytes, 1, rowsNeeded));
    }

    GeoTiffLevelReader &reader_;
    uint32_t left_, end_, capacity_;
    LTISceneBuffer rows_;
    uint32_t top_ = 0, count_ = 0;
};

// Column spans of every output pixel, relative to the first level column they use; `used`
// receives the level columns they cover together.
std::vector<Span> ColumnSpans(const AveragedWindow &w, uint32_t levelWidth, Span &used) {
    std::vector<Span> columns(w.width);
    for (uint32_t ox = 0; ox < w.width; ++ox)
        columns[ox] = SpanOf((uint64_t{w.x} + ox) * w.k, w.k, levelWidth);
    used = {columns.front().first, columns.back().end};
    for (Span &c : columns)
        c = {c.first - used.first, c.end - used.first};
    return columns;
}

} // namespace

LT_STATUS ReadAveraged(GeoTiffLevelReader &reader, const AveragedWindow &window,
                       LTISceneBuffer &out) {
    const tiff::TiffImageInfo &level = reader.info();
    const auto rowsOf = [&](uint32_t oy) {
        return SpanOf((uint64_t{window.y} + oy) * window.k, window.k, level.height);
    };
    Span columnsUsed{};
    RowSums sums(out.getPixelProps(), ColumnSpans(window, level.width, columnsUsed));
    const Span rowsUsed{rowsOf(0).first, rowsOf(window.height - 1).end};
    RowChunks chunks(reader, out.getPixelProps(), columnsUsed, rowsUsed);
    for (uint32_t oy = 0; oy < window.height; ++oy) {
        const Span rows = rowsOf(oy);
        sums.clear();
        for (uint32_t y = rows.first; y < rows.end; ++y) {
            if (const LT_STATUS status = chunks.fetch(y))
                return status;
            sums.add(chunks.rows(), chunks.index(y));
        }
        sums.store(out, oy, rows.count());
    }
    return LT_STS_Success;
}

} // namespace engines::geotiff
