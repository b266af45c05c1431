// Test-side encoders; plain and slow, written from TIFF 6.0 sections 9 and 14 and the Adobe
// Deflate note.
#include "Encoders.h"

#include <zlib.h>

#include <unordered_map>

namespace testsupport {

Bytes PackBitsEncode(std::span<const uint8_t> data) {
    Bytes out;
    size_t i = 0;
    while (i < data.size()) {
        size_t run = 1;
        while (i + run < data.size() && run < 128 && data[i + run] == data[i])
            ++run;
        if (run >= 3) {
            out.push_back(static_cast<uint8_t>(1 - static_cast<int>(run)));
            out.push_back(data[i]);
            i += run;
            continue;
        }
        size_t literal = 0;
        while (i + literal < data.size() && literal < 128 &&
               !(i + literal + 2 < data.size() && data[i + literal] == data[i + literal + 1] &&
                 data[i + literal] == data[i + literal + 2]))
            ++literal;
        literal = literal == 0 ? 1 : literal;
        out.push_back(static_cast<uint8_t>(literal - 1));
        out.insert(out.end(), data.begin() + i, data.begin() + i + literal);
        i += literal;
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

void DifferenceRow(uint8_t *row, size_t pixels, size_t samples, size_t bytesPerSample,
                   bool bigEndian) {
    const auto load = [&](size_t i) {
        uint64_t v = 0;
        for (size_t b = 0; b < bytesPerSample; ++b)
            v |= uint64_t{row[i * bytesPerSample + b]}
                 << 8 * (bigEndian ? bytesPerSample - 1 - b : b);
        return v;
    };
    const auto store = [&](size_t i, uint64_t v) {
        for (size_t b = 0; b < bytesPerSample; ++b)
            row[i * bytesPerSample + b] =
                static_cast<uint8_t>(v >> 8 * (bigEndian ? bytesPerSample - 1 - b : b));
    };
    for (size_t i = pixels * samples; i-- > samples;)
        store(i, load(i) - load(i - samples));
}

LzwCodeWriter &LzwCodeWriter::Put(uint32_t code) {
    Write(code, width_);
    if (code == kLzwClear) {
        Reset();
    } else if (code == kLzwEoi) {
    } else if (afterClear_) {
        afterClear_ = false;
    } else if (++nextFree_ > growth_) {
        width_ = width_ < 12 ? width_ + 1 : 12;
        growth_ = (1u << width_) - 2 + (old_ ? 1 : 0);
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

// The old-style (pre-TIFF 6.0) streams grow one code later and pack bits from the low end.
void LzwCodeWriter::Reset() {
    width_ = 9;
    nextFree_ = 258;
    growth_ = 510 + (old_ ? 1 : 0);
    afterClear_ = true;
}

void LzwCodeWriter::Write(uint32_t code, uint32_t width) {
    if (old_) {
        acc_ |= uint64_t{code} << bits_;
        bits_ += width;
        for (; bits_ >= 8; bits_ -= 8, acc_ >>= 8)
            bytes_.push_back(static_cast<uint8_t>(acc_));
    } else {
        acc_ = (acc_ << width) | code;
        bits_ += width;
        for (; bits_ >= 8; bits_ -= 8)
            bytes_.push_back(static_cast<uint8_t>(acc_ >> (bits_ - 8)));
    }
}

Bytes LzwEncode(std::span<const uint8_t> data, LzwEncodeOptions opt) {
    LzwCodeWriter writer(opt.oldStyle);
    writer.Put(kLzwClear);
    std::unordered_map<uint32_t, uint32_t> dict; // (prefix << 8 | byte) -> code
    dict.reserve(8192);
    uint32_t next = 258;
    if (!data.empty()) {
        uint32_t w = data[0];
        for (size_t i = 1; i < data.size(); ++i) {
            const auto found = dict.find(w << 8 | data[i]);
            if (found != dict.end()) {
                w = found->second;
                continue;
            }
            writer.Put(w);
            if (next <= 4095)
                dict[w << 8 | data[i]] = next++;
            w = data[i];
            if (opt.clearAt != 0 && next > opt.clearAt) {
                writer.Put(kLzwClear);
                dict.clear();
                next = 258;
            }
        }
        writer.Put(w);
    }
    return writer.Put(kLzwEoi).Finish();
}

} // namespace testsupport
