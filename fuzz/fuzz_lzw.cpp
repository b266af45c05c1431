// Fuzzes the LZW decoder: the first bytes choose the output size and a piece size, the rest is
// the compressed strip. The whole-strip decode and a decode in pieces through the hooks (which
// walks links where the whole-strip decode copies earlier output) must agree.
#include "Subsystems/TiffImage/TiffLzw.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
    // The decoder's warnings go to standard output; keep the fuzzer's log readable.
    if (std::freopen("/dev/null", "w", stdout) == nullptr)
        std::abort();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size < 4)
        return 0;
    const uint32_t outSize =
        (uint32_t{data[0]} << 16 | uint32_t{data[1]} << 8 | data[2]) % (1u << 16);
    const size_t piece = 1 + data[3] % 97;
    const uint8_t *in = data + 4;
    const auto inSize = static_cast<uint32_t>(size - 4);

    std::vector<uint8_t> whole(outSize);
    const int32_t status = tiff::LZWDecodeStrip(whole.data(), in, outSize, inSize);
    if (status != 0 && status != -1)
        std::abort();

    tiff::LzwState state;
    std::vector<uint8_t> pieces(outSize);
    int32_t pieceStatus = tiff::LZWPreDecode(state, {in, inSize});
    for (size_t at = 0; pieceStatus == 0 && at < outSize; at += piece) {
        const size_t n = outSize - at < piece ? outSize - at : piece;
        pieceStatus = tiff::LZWDecode(state, {pieces.data() + at, n});
    }
    if (pieceStatus != status)
        std::abort();
    if (status == 0 && outSize != 0 && std::memcmp(whole.data(), pieces.data(), outSize) != 0)
        std::abort();
    return 0;
}
