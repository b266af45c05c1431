// PackBits run-length decoding (TIFF 6.0 section 9).
#include "TiffPackBits.h"

#include <cstring>

namespace tiff {
namespace {

// Most literals and runs are short: while both buffers have room, move a fixed 16 bytes and
// let the next literal or run overwrite the excess.
constexpr size_t kShortMove = 16;

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
            if (inRoom >= kShortMove && outRoom >= kShortMove && length <= kShortMove)
                std::memcpy(op, ip, kShortMove);
            else
                std::memcpy(op, ip, length);
            ip += length;
            op += length;
        } else if (control != -128) {
            const auto length = static_cast<size_t>(1 - int{control});
            if (length > outRoom || inRoom == 0)
                return false;
            if (outRoom >= kShortMove && length <= kShortMove)
                std::memset(op, *ip, kShortMove);
            else
                std::memset(op, *ip, length);
            ++ip;
            op += length;
        }
    }
    return op == outEnd;
}

} // namespace tiff
