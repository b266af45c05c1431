// TiffSource over LTIOStreamInf.
#include "GeoTiffSource.h"

#include "engines/StreamRead.h"

#include <limits>

namespace engines::geotiff {

using namespace LizardTech; // the seam the engine implements

namespace {

class StreamTiffSource final : public tiff::TiffSource {
public:
    explicit StreamTiffSource(LTIOStreamInf &stream) : stream_(stream) {}

    bool Length(uint64_t &length) override {
        if (stream_.seek(0, LTIO_SEEK_DIR_END) != LT_STS_Success)
            return false;
        const lt_int64 end = stream_.tell();
        if (end < 0)
            return false;
        length = static_cast<uint64_t>(end);
        return true;
    }

    bool Seek(uint64_t position) override {
        if (position > static_cast<uint64_t>(std::numeric_limits<lt_int64>::max()))
            return false;
        const auto target = static_cast<lt_int64>(position);
        return stream_.seek(target, LTIO_SEEK_DIR_BEG) == LT_STS_Success &&
               stream_.tell() == target;
    }

    size_t Read(void *dest, size_t size) override { return ReadStream(stream_, dest, size); }

private:
    LTIOStreamInf &stream_;
};

} // namespace

std::unique_ptr<tiff::TiffSource> MakeStreamTiffSource(LTIOStreamInf &stream) {
    return std::make_unique<StreamTiffSource>(stream);
}

} // namespace engines::geotiff
