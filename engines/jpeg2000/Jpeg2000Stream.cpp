// StreamBytes over LTIOStreamInf.
#include "Jpeg2000Stream.h"

#include "engines/StreamRead.h"

#include <limits>

namespace engines::jpeg2000 {

using namespace LizardTech;

bool StreamBytes::length(uint64_t &length) {
    const std::lock_guard<std::mutex> hold(lock_);
    if (!lengthKnown_) {
        if (stream_.seek(0, LTIO_SEEK_DIR_END) != LT_STS_Success)
            return false;
        const lt_int64 end = stream_.tell();
        if (end < 0)
            return false;
        length_ = static_cast<uint64_t>(end);
        lengthKnown_ = true;
    }
    length = length_;
    return true;
}

size_t StreamBytes::readSome(uint64_t offset, void *dest, size_t size) {
    const std::lock_guard<std::mutex> hold(lock_);
    if (offset > static_cast<uint64_t>(std::numeric_limits<lt_int64>::max()) ||
        stream_.seek(static_cast<lt_int64>(offset), LTIO_SEEK_DIR_BEG) != LT_STS_Success)
        return 0;
    return ReadStream(stream_, dest, size);
}

bool StreamBytes::read(uint64_t offset, void *dest, size_t size) {
    return readSome(offset, dest, size) == size;
}

} // namespace engines::jpeg2000
