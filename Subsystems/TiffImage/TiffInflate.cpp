// libdeflate where the build has it (Debian's libtiff uses it too: about twice zlib's speed on
// whole strips); zlib otherwise, the Windows build's only inflater.
#include "TiffInflate.h"

#if IOSID_HAVE_LIBDEFLATE
#include <libdeflate.h>

#include <memory>
#else
#include <zlib.h>
#endif

namespace tiff {

#if IOSID_HAVE_LIBDEFLATE

namespace {

struct DecompressorDeleter {
    void operator()(libdeflate_decompressor *d) const { libdeflate_free_decompressor(d); }
};

// One decompressor per thread, kept: a one-row strip costs less than allocating one.
libdeflate_decompressor *ThreadDecompressor() {
    thread_local std::unique_ptr<libdeflate_decompressor, DecompressorDeleter> decompressor(
        libdeflate_alloc_decompressor());
    return decompressor.get();
}

} // namespace

bool Inflate(std::span<const uint8_t> in, std::span<uint8_t> out) {
    libdeflate_decompressor *decompressor = ThreadDecompressor();
    // Without an actual-size argument libdeflate insists on exactly out.size() bytes.
    return decompressor != nullptr &&
           libdeflate_zlib_decompress(decompressor, in.data(), in.size(), out.data(), out.size(),
                                      nullptr) == LIBDEFLATE_SUCCESS;
}

#else

bool Inflate(std::span<const uint8_t> in, std::span<uint8_t> out) {
    uLongf length = static_cast<uLongf>(out.size());
    return uncompress(out.data(), &length, in.data(), static_cast<uLong>(in.size())) == Z_OK &&
           length == out.size();
}

#endif

} // namespace tiff
