// PackBits run-length decoding (TIFF 6.0 section 9).
#include "TiffPackBits.h"

#include <cstring>

namespace tiff {
namespace {

// While both buffers have room, literals and runs move in whole 32-byte chunks; the excess is
// overwritten by the next literal or run.
constexpr size_t kChunk = 32;
constexpr size_t kLongestRun = 128;

} // namespace

bool PackBitsDecode(std::span<const uint8_t> in, std::span<uint8_t> out) {
    const uint8_t *ip = in.data();
    const uint8_t *const inEnd = ip + in.size();
    uint8_t *op = out.data();
    uint8_t *const outEnd = op + out.size();
    while (ip < inEnd && op < outEnd) {
        const auto control = static_cast<int8_t>(*ip++);
        const auto outRoom = static_cast<size_t>(outEnd - op);
        const auto inRoom = static_cast<size_t>(inEnd - ip);
        if (control >= 0) {
            const size_t length = static_cast<size_t>(control) + 1;
            if (length > outRoom || length > inRoom)
                return false;
            if (inRoom >= kLongestRun + kChunk && outRoom >= kLongestRun + kChunk) {
                for (size_t i = 0; i < length; i += kChunk)
                    std::memcpy(op + i, ip + i, kChunk);
            } else {
                std::memcpy(op, ip, length);
            }
            ip += length;
            op += length;
        } else if (control != -128) {
            const auto length = static_cast<size_t>(1 - int{control});
            if (length > outRoom || inRoom == 0)
                return false;
            if (outRoom >= kLongestRun + kChunk) {
                for (size_t i = 0; i < length; i += kChunk)
                    std::memset(op + i, *ip, kChunk);
            } else {
                std::memset(op, *ip, length);
            }
            ++ip;
            op += length;
        }
    }
    return op == outEnd;
}

} // namespace tiff
