// LZW decoder for TIFF compression 5 (TIFF 6.0 section 13) with libtiff's old-style codes.
#include "TiffLzw.h"

#include <algorithm>
#include <bit>
#include <cstdio>
#include <cstring>
#include <new>

namespace tiff {
namespace {

constexpr uint32_t kCodeClear = 256;
constexpr uint32_t kCodeEoi = 257;
constexpr uint32_t kCodeFirst = 258;
constexpr uint32_t kMinWidth = 9;
constexpr uint32_t kMaxWidth = 12;
// 4095 codes plus room for writers that clear late; entries past 4095 are defined but can never
// be named by a 12-bit code.
constexpr uint32_t kTableSize = 5119;
// Single bytes and empty entries link to an empty entry just past the table, so that walking a
// string never leaves the allocation.
constexpr uint16_t kSentinel = kTableSize;
constexpr uint32_t kNoCode = UINT32_MAX;
constexpr LzwCode kEmptyEntry{0, kSentinel, 0, 0, 0};

const char kNoEoiWarning[] = "LZWDecode: Strip not terminated with EOI code";
const char kOldStyleWarning[] = "Old-style LZW codes, convert file";

inline uint64_t Load64(const uint8_t *p) {
    uint64_t v;
    std::memcpy(&v, p, sizeof v);
    return v;
}

inline uint64_t LoadBigEndian64(const uint8_t *p) {
    if constexpr (std::endian::native == std::endian::little)
        return __builtin_bswap64(Load64(p));
    return Load64(p);
}

inline uint64_t LoadLittleEndian64(const uint8_t *p) {
    if constexpr (std::endian::native == std::endian::big)
        return __builtin_bswap64(Load64(p));
    return Load64(p);
}

// TIFF 6.0 codes: most significant bit first, the width grows one code early. The accumulator
// holds its `count` pending bits at the top; bits below them are 0 or the input's next bits, so
// a refill may load the same byte twice.
struct MsbFirst {
    static constexpr uint32_t kGrowthLag = 0;

    static void Refill(uint64_t &acc, uint32_t &count, const uint8_t *&in, const uint8_t *end) {
        if (end - in >= 8) {
            acc |= LoadBigEndian64(in) >> count;
            in += (63 - count) >> 3;
            count |= 56;
            return;
        }
        while (count <= 56 && in < end) {
            acc |= uint64_t{*in++} << (56 - count);
            count += 8;
        }
    }
    static uint32_t Take(uint64_t &acc, uint32_t &count, uint32_t width) {
        const auto code = static_cast<uint32_t>(acc >> (64 - width));
        acc <<= width;
        count -= width;
        return code;
    }
};

// Old-style codes: least significant bit first, the width grows when the table passes the
// mask. Pending bits sit at the bottom of the accumulator.
struct LsbFirst {
    static constexpr uint32_t kGrowthLag = 1;

    static void Refill(uint64_t &acc, uint32_t &count, const uint8_t *&in, const uint8_t *end) {
        if (end - in >= 8) {
            acc |= LoadLittleEndian64(in) << count;
            in += (63 - count) >> 3;
            count |= 56;
            return;
        }
        while (count <= 56 && in < end) {
            acc |= uint64_t{*in++} << count;
            count += 8;
        }
    }
    static uint32_t Take(uint64_t &acc, uint32_t &count, uint32_t width) {
        const auto code = static_cast<uint32_t>(acc & ((1u << width) - 1));
        acc >>= width;
        count -= width;
        return code;
    }
};

inline uint32_t MaskOf(uint32_t width) { return (1u << width) - 1; }

// Writes bytes [from, from + count) of the string of `code`, walking the links back from its
// last byte; the string's length bounds the walk whatever the links say.
void WriteStringPart(const LzwCode *table, uint32_t code, uint32_t from, uint32_t count,
                     uint8_t *dst) {
    const LzwCode *entry = &table[code];
    for (uint32_t skip = entry->length - from - count; skip > 0; --skip)
        entry = &table[entry->link];
    for (uint8_t *p = dst + count; p > dst;) {
        *--p = entry->value;
        entry = &table[entry->link];
    }
}

// Copies `length` bytes of a string that already sits earlier in the output. The copy runs
// forward, so the string of the entry just defined (whose last byte is its own first output
// byte) comes out right; whole words may run past the string while the output has room, since
// later strings overwrite those bytes.
inline void CopyEarlierString(uint8_t *dst, const uint8_t *src, uint32_t length,
                              const uint8_t *end) {
    if (dst - src >= 8 && static_cast<size_t>(end - dst) >= size_t{length} + 7) {
        for (uint32_t i = 0; i < length; i += 8)
            std::memcpy(dst + i, src + i, 8);
        return;
    }
    for (uint32_t i = 0; i < length; ++i)
        dst[i] = src[i];
}

// Continues a string cut at the end of the previous call.
uint8_t *ResumePending(LzwState &s, uint8_t *op, uint8_t *end) {
    const uint32_t length = s.table[s.pendingCode].length;
    const auto count = static_cast<uint32_t>(
        std::min<size_t>(length - s.pendingDone, static_cast<size_t>(end - op)));
    WriteStringPart(s.table.get(), s.pendingCode, s.pendingDone, count, op);
    s.pendingDone += count;
    if (s.pendingDone == length)
        s.pendingCode = kNoCode;
    return op + count;
}

// The decode routine for one bit order. Hot values live in locals and go back to the state
// on every exit.
template <class Bits> class CodeRun {
public:
    CodeRun(LzwState &s, uint8_t *out, uint8_t *end)
        : s_(s), table_(s.table.get()), out_(out), end_(end), base_(s.callBase), acc_(s.bitAcc),
          count_(s.bitsInAcc), in_(s.in), inEnd_(s.inEnd), bitsLeft_(s.bitsLeft), width_(s.width),
          nextFree_(s.nextFree), prev_(s.prevCode), growth_(s.growthEntry), tainted_(s.tainted) {}

    // Decodes from `op` to the end of the output; returns a LzwStatus.
    int32_t Run(uint8_t *op) {
        const int32_t status = Loop(op);
        Store();
        if (status != kLzwOk)
            return status;
        // The data ran out or EOI came before the output was full.
        return op_ < end_ ? kLzwCorrupt : kLzwOk;
    }

private:
    bool NextCode(uint32_t &code) {
        if (bitsLeft_ < width_) {
            TiffWarning(s_.module, kNoEoiWarning);
            return false;
        }
        if (count_ < width_)
            Bits::Refill(acc_, count_, in_, inEnd_);
        code = Bits::Take(acc_, count_, width_);
        bitsLeft_ -= width_;
        return true;
    }

    void SetWidth(uint32_t width) {
        width_ = width;
        growth_ = MaskOf(width) - 1 + Bits::kGrowthLag;
    }

    int32_t Loop(uint8_t *&op) {
        uint32_t code = 0;
        while (op < end_) {
            if (!NextCode(code))
                break;
            if ((code & ~1u) == kCodeClear) {
                if (code == kCodeEoi || !Clear(op))
                    break;
                continue;
            }
            if (!AddEntry(code))
                return kLzwCorrupt;
            const uint64_t here = base_ + static_cast<uint64_t>(op - out_);
            prevPos_ = tainted_ ? 0 : here;
            if (code < 256) {
                *op++ = static_cast<uint8_t>(code);
                continue;
            }
            const LzwCode &entry = table_[code];
            if (entry.length == 0)
                return kLzwCorrupt;
            if (entry.length > static_cast<size_t>(end_ - op)) {
                op = WriteCutString(code, op);
                break;
            }
            if (entry.outPos >= base_)
                CopyEarlierString(op, out_ + (entry.outPos - base_), entry.length, end_);
            else
                WriteStringPart(table_, code, 0, entry.length, op);
            op += entry.length;
        }
        op_ = op;
        return kLzwOk;
    }

    // Clear code: restart the table and take the next code as a single byte. False when the
    // strip ends here.
    bool Clear(uint8_t *&op) {
        nextFree_ = kCodeFirst;
        SetWidth(kMinWidth);
        tainted_ = false;
        uint32_t code = 0;
        if (!NextCode(code))
            return false;
        if (code == kCodeEoi)
            return false;
        if (code >= kCodeClear) {
            // Not a byte: written as one all the same, and it becomes an empty prefix.
            table_[code] = kEmptyEntry;
            tainted_ = true;
        }
        prevPos_ = tainted_ ? 0 : base_ + static_cast<uint64_t>(op - out_);
        *op++ = static_cast<uint8_t>(code);
        prev_ = code;
        return true;
    }

    // Defines the entry of the previous string plus the first byte of `code`'s string.
    bool AddEntry(uint32_t code) {
        if (nextFree_ >= kTableSize || prev_ == kNoCode || code > nextFree_)
            return false;
        const LzwCode &prefix = table_[prev_];
        LzwCode &added = table_[nextFree_];
        added.link = static_cast<uint16_t>(prev_);
        added.length = static_cast<uint16_t>(prefix.length + 1);
        added.firstChar = prefix.firstChar;
        added.value = code < nextFree_ ? table_[code].firstChar : prefix.firstChar;
        added.outPos = prevPos_; // 0 while an empty prefix's bytes do not match its string
        if (++nextFree_ > growth_)
            SetWidth(std::min(width_ + 1, kMaxWidth));
        prev_ = code;
        return true;
    }

    // Writes the first bytes of a string that does not fit and keeps the rest pending.
    uint8_t *WriteCutString(uint32_t code, uint8_t *op) {
        const LzwCode &entry = table_[code];
        const auto room = static_cast<uint32_t>(end_ - op);
        if (entry.outPos >= base_)
            CopyEarlierString(op, out_ + (entry.outPos - base_), room, end_);
        else
            WriteStringPart(table_, code, 0, room, op);
        s_.pendingCode = code;
        s_.pendingDone = room;
        return end_;
    }

    void Store() {
        s_.bitAcc = acc_;
        s_.bitsInAcc = count_;
        s_.in = in_;
        s_.bitsLeft = bitsLeft_;
        s_.width = width_;
        s_.mask = MaskOf(width_);
        s_.nextFree = nextFree_;
        s_.prevCode = prev_;
        s_.growthEntry = growth_;
        s_.tainted = tainted_;
    }

    LzwState &s_;
    LzwCode *const table_;
    uint8_t *const out_;
    uint8_t *const end_;
    const uint64_t base_; // output position of out_[0]
    uint64_t acc_;
    uint32_t count_;
    const uint8_t *in_;
    const uint8_t *const inEnd_;
    uint64_t bitsLeft_;
    uint32_t width_;
    uint32_t nextFree_;
    uint32_t prev_;
    uint32_t growth_;
    bool tainted_;
    uint64_t prevPos_ = 0; // output position of the previous code's string; 0 = not in this call
    uint8_t *op_ = nullptr;
};

} // namespace

void TiffWarning(const char *module, const char *text) {
    std::printf("TIFFWarning(%s):  %s\n", module ? module : "", text);
    std::fflush(stdout);
}

int32_t LZWSetupDecode(LzwState &s) {
    if (!s.table) {
        s.table.reset(new (std::nothrow) LzwCode[kTableSize + 1]);
        if (!s.table)
            return s.error = kLzwNoMemory;
    }
    for (uint32_t c = 0; c < 256; ++c) {
        const auto byte = static_cast<uint8_t>(c);
        s.table[c] = LzwCode{0, kSentinel, 1, byte, byte};
    }
    s.table[kCodeClear] = kEmptyEntry;
    s.table[kCodeEoi] = kEmptyEntry;
    s.table[kSentinel] = kEmptyEntry;
    return s.error = kLzwOk;
}

int32_t LZWPreDecode(LzwState &s, std::span<const uint8_t> input) {
    if (!s.table && LZWSetupDecode(s) != kLzwOk)
        return s.error;
    // Old writers' streams open with a clear code written least significant bit first.
    const bool oldStyle = input.size() >= 2 && input[0] == 0 && (input[1] & 1) != 0;
    if (oldStyle && s.routine == LzwRoutine::None)
        TiffWarning(s.module, kOldStyleWarning);
    s.routine = oldStyle ? LzwRoutine::OldStyle : LzwRoutine::NewStyle;

    s.in = input.data();
    s.inEnd = input.data() + input.size();
    s.bitAcc = 0;
    s.bitsInAcc = 0;
    s.bitsLeft = uint64_t{8} * input.size();
    s.width = kMinWidth;
    s.mask = MaskOf(kMinWidth);
    s.nextFree = kCodeFirst;
    s.prevCode = kNoCode;
    s.growthEntry = s.mask - 1 + (oldStyle ? 1 : 0);
    s.tainted = false;
    s.pendingCode = kNoCode;
    s.pendingDone = 0;
    // Entries from kCodeFirst up are not wiped: a code above the next free entry is rejected
    // before its entry is read, so stale entries are never seen.
    return s.error = kLzwOk;
}

int32_t LZWDecode(LzwState &s, std::span<uint8_t> output) {
    if (s.error != kLzwOk)
        return s.error;
    if (!s.table || s.routine == LzwRoutine::None)
        return s.error = kLzwCorrupt;
    uint8_t *const out = output.data();
    uint8_t *const end = out + output.size();
    uint8_t *op = out;
    if (s.pendingCode != kNoCode)
        op = ResumePending(s, op, end);
    int32_t status = kLzwOk;
    if (op < end) {
        status = s.routine == LzwRoutine::OldStyle ? CodeRun<LsbFirst>(s, out, end).Run(op)
                                                   : CodeRun<MsbFirst>(s, out, end).Run(op);
    }
    s.callBase += output.size();
    // A full output with no EOI after it: the strip ended without one (EOI would have ended the
    // loop before the output was full, so none was read).
    if (status == kLzwOk && s.pendingCode == kNoCode && s.bitsLeft < s.width)
        TiffWarning(s.module, kNoEoiWarning);
    return s.error = status;
}

void LZWCleanup(LzwState &s) {
    s.table.reset();
    s.routine = LzwRoutine::None;
}

int32_t LZWDecodeStrip(unsigned char *out, const unsigned char *in, uint32_t outSize,
                       uint32_t inSize) {
    if ((out == nullptr && outSize != 0) || (in == nullptr && inSize != 0))
        return kLzwCorrupt;
    LzwState state;
    int32_t status = LZWSetupDecode(state);
    if (status == kLzwOk)
        status = LZWPreDecode(state, {in, inSize});
    if (status == kLzwOk)
        status = LZWDecode(state, {out, outSize});
    LZWCleanup(state);
    return status;
}

} // namespace tiff
