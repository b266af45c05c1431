// Test-side LZW writer: explicit code streams and a whole-buffer encoder, in the TIFF 6.0 bit
// order or the old-style one, with the code widths the decoder expects.
#pragma once
#include <cstdint>
#include <span>
#include <unordered_map>
#include <vector>

namespace tiff::test {

constexpr uint32_t kClear = 256;
constexpr uint32_t kEoi = 257;

class LzwCodeWriter {
public:
    explicit LzwCodeWriter(bool oldStyle) : old_(oldStyle) { Reset(); }

    // Writes one code at the width the decoder will read it with, then follows the decoder's
    // table: every code but the first after a clear defines an entry.
    LzwCodeWriter &Put(uint32_t code) {
        Write(code, width_);
        if (code == kClear) {
            Reset();
        } else if (code == kEoi) {
        } else if (afterClear_) {
            afterClear_ = false;
        } else if (++nextFree_ > growth_) {
            width_ = width_ < 12 ? width_ + 1 : 12;
            growth_ = (1u << width_) - 2 + (old_ ? 1 : 0);
        }
        return *this;
    }
    LzwCodeWriter &Put(std::initializer_list<uint32_t> codes) {
        for (uint32_t c : codes)
            Put(c);
        return *this;
    }
    uint32_t Width() const { return width_; }
    uint32_t NextFree() const { return nextFree_; }

    std::vector<uint8_t> Finish() {
        if (bits_ > 0)
            bytes_.push_back(static_cast<uint8_t>(old_ ? acc_ : acc_ << (8 - bits_)));
        acc_ = 0;
        bits_ = 0;
        return bytes_;
    }

private:
    void Reset() {
        width_ = 9;
        nextFree_ = 258;
        growth_ = 510 + (old_ ? 1 : 0);
        afterClear_ = true;
    }
    void Write(uint32_t code, uint32_t width) {
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

    bool old_;
    uint64_t acc_ = 0;
    uint32_t bits_ = 0;
    std::vector<uint8_t> bytes_;
    uint32_t width_ = 9;
    uint32_t nextFree_ = 258;
    uint32_t growth_ = 510;
    bool afterClear_ = true;
};

struct LzwEncodeOptions {
    bool oldStyle = false;
    bool eoi = true;
    // Clear the table once it holds this many entries (libtiff clears at 4094); 0 never clears
    // and stops adding entries at 4095.
    uint32_t clearAt = 4094;
};

// A plain LZW encoder for test data.
inline std::vector<uint8_t> LzwEncode(std::span<const uint8_t> data, LzwEncodeOptions opt = {}) {
    LzwCodeWriter writer(opt.oldStyle);
    writer.Put(kClear);
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
                writer.Put(kClear);
                dict.clear();
                next = 258;
            }
        }
        writer.Put(w);
    }
    if (opt.eoi)
        writer.Put(kEoi);
    return writer.Finish();
}

} // namespace tiff::test
