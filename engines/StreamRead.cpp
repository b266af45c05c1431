#include "StreamRead.h"

#include <algorithm>

namespace engines {

size_t ReadStream(LizardTech::LTIOStreamInf &stream, void *dest, size_t size) {
    auto *out = static_cast<LizardTech::lt_uint8 *>(dest);
    size_t total = 0;
    while (total < size) {
        const auto piece =
            static_cast<LizardTech::lt_uint32>(std::min<size_t>(size - total, 1u << 30));
        const LizardTech::lt_uint32 got = stream.read(out + total, piece);
        total += got;
        if (got < piece)
            break;
    }
    return total;
}

} // namespace engines
