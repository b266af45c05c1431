// Test-side encoders; plain and slow, written from TIFF 6.0 sections 9 and 14 and the Adobe
// Deflate note.
#include "Encoders.h"

#include <zlib.h>

#include <utility>

namespace testsupport {

// Runs of two or more equal bytes as repeats, the bytes between them as literals.
Bytes PackBitsEncode(std::span<const uint8_t> data) {
    Bytes out;
    for (size_t i = 0, n = 1; i < data.size(); i += n, n = 1) {
        while (i + n < data.size() && n < 128 && data[i + n] == data[i])
            ++n;
        if (n > 1) {
            out.insert(out.end(), {static_cast<uint8_t>(257 - n), data[i]});
            continue;
        }
        while (i + n < data.size() && n < 128 && data[i + n] != data[i + n - 1])
            ++n;
        out.push_back(static_cast<uint8_t>(n - 1));
        out.insert(out.end(), data.begin() + i, data.begin() + i + n);
    }
    return out;
}

Bytes DeflateEncode(std::span<const uint8_t> data) {
    uLongf size = compressBound(static_cast<uLong>(data.size()));
    Bytes out(size);
    compress(out.data(), &size, data.data(), static_cast<uLong>(data.size()));
    out.resize(size);
    return out;
}

// The old-style (pre-TIFF 6.0) streams grow one code later and pack bits from the low end.
LzwCodeWriter &LzwCodeWriter::Put(uint32_t code) {
    if (old_) {
        acc_ |= uint64_t{code} << bits_;
        for (bits_ += width_; bits_ >= 8; bits_ -= 8, acc_ >>= 8)
            bytes_.push_back(static_cast<uint8_t>(acc_));
    } else {
        acc_ = (acc_ << width_) | code;
        for (bits_ += width_; bits_ >= 8; bits_ -= 8)
            bytes_.push_back(static_cast<uint8_t>(acc_ >> (bits_ - 8)));
    }
    if (code == kLzwClear) {
        width_ = 9;
        nextFree_ = 258;
        afterClear_ = true;
    } else if (code != kLzwEoi && !std::exchange(afterClear_, false) &&
               ++nextFree_ > (1u << width_) - 2 + old_ && width_ < 12) {
        ++width_;
    }
    return *this;
}

LzwCodeWriter &LzwCodeWriter::Put(std::initializer_list<uint32_t> codes) {
    for (uint32_t c : codes)
        Put(c);
    return *this;
}

Bytes LzwCodeWriter::Finish() {
    if (bits_ > 0)
        bytes_.push_back(static_cast<uint8_t>(old_ ? acc_ : acc_ << (8 - bits_)));
    acc_ = 0;
    bits_ = 0;
    return bytes_;
}

} // namespace testsupport
