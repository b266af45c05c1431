// LZW decoder for TIFF compression 5 (TIFF 6.0 section 13) with libtiff's old-style codes.
#include "TiffLzw.h"
#include "TiffLog.h"

#include <algorithm>
#include <bit>
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
// string never leaves the table.
constexpr uint16_t kSentinel = kTableSize;
constexpr uint32_t kNoCode = UINT32_MAX;
// Where a string was written, when it is not in the current call's output.
constexpr uint32_t kNowhere = UINT32_MAX;

const char kNoEoiWarning[] = "LZWDecode: Strip not terminated with EOI code";
const char kOldStyleWarning[] = "Old-style LZW codes, convert file";

// An entry packed in 64 bits: its place (the offset in the current call's output where its
// prefix, all but its last byte, was written), its length, its last byte and its first byte.
// Links live in their own array: only strings whose prefix is not in the output are walked.
constexpr uint64_t Pack(uint32_t place, uint32_t length, uint32_t last, uint32_t first) {
    return uint64_t{place} | uint64_t{length} << 32 | uint64_t{last} << 48 | uint64_t{first} << 56;
}
constexpr uint32_t PlaceOf(uint64_t e) { return static_cast<uint32_t>(e); }
constexpr uint32_t LengthOf(uint64_t e) { return static_cast<uint32_t>(e >> 32) & 0xFFFF; }
constexpr uint8_t LastOf(uint64_t e) { return static_cast<uint8_t>(e >> 48); }
constexpr uint64_t kEmptyEntry = Pack(kNowhere, 0, 0, 0);
constexpr uint64_t kLengthAndFirst = Pack(0, 0xFFFF, 0, 0xFF);

} // namespace

struct LzwTable {
    uint64_t entries[kTableSize + 1];
    uint16_t links[kTableSize + 1];
};

void LzwTableDeleter::operator()(LzwTable *table) const { delete table; }

namespace {

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

    // With at least 8 input bytes left: fills the accumulator to 56 bits or more.
    static void RefillFast(uint64_t &acc, uint32_t &count, const uint8_t *&in) {
        acc |= LoadBigEndian64(in) >> count;
        in += (63 - count) >> 3;
        count |= 56;
    }
    static void RefillTail(uint64_t &acc, uint32_t &count, const uint8_t *&in, const uint8_t *end) {
        for (; count <= 56 && in < end; count += 8)
            acc |= uint64_t{*in++} << (56 - count);
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

    static void RefillFast(uint64_t &acc, uint32_t &count, const uint8_t *&in) {
        acc |= LoadLittleEndian64(in) << count;
        in += (63 - count) >> 3;
        count |= 56;
    }
    static void RefillTail(uint64_t &acc, uint32_t &count, const uint8_t *&in, const uint8_t *end) {
        for (; count <= 56 && in < end; count += 8)
            acc |= uint64_t{*in++} << count;
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
void WriteStringPart(const LzwTable &t, uint32_t code, uint32_t from, uint32_t count,
                     uint8_t *dst) {
    uint32_t entry = code;
    for (uint32_t skip = LengthOf(t.entries[code]) - from - count; skip > 0; --skip)
        entry = t.links[entry];
    for (uint8_t *p = dst + count; p > dst;) {
        *--p = LastOf(t.entries[entry]);
        entry = t.links[entry];
    }
}

// Copies 16 bytes through a register: the source may overlap the destination.
inline void Copy16(uint8_t *dst, const uint8_t *src) {
    uint8_t chunk[16];
    std::memcpy(chunk, src, 16);
    std::memcpy(dst, chunk, 16);
}

// Continues a string cut at the end of the previous call.
uint8_t *ResumePending(LzwState &s, uint8_t *op, uint8_t *end) {
    const uint32_t length = LengthOf(s.table->entries[s.pendingCode]);
    const auto count = static_cast<uint32_t>(
        std::min<size_t>(length - s.pendingDone, static_cast<size_t>(end - op)));
    WriteStringPart(*s.table, s.pendingCode, s.pendingDone, count, op);
    s.pendingDone += count;
    if (s.pendingDone == length)
        s.pendingCode = kNoCode;
    return op + count;
}

// Entries defined by an earlier call keep their strings only through their links.
void ForgetPlaces(LzwState &s) {
    for (uint32_t c = s.placedFrom; c < s.nextFree && c < kTableSize; ++c)
        s.table->entries[c] = (s.table->entries[c] & ~uint64_t{0xFFFFFFFF}) | kNowhere;
    s.placedFrom = s.nextFree;
}

// Near the end of the output or for strings not in it: exact copies, and the first bytes of a
// string that does not fit, with the rest kept pending. Returns the new output position, or
// nullptr for an entry that holds no string.
uint8_t *WriteCarefully(LzwState &s, uint32_t code, uint64_t entry, uint8_t *op, uint8_t *out,
                        uint8_t *end) {
    const uint32_t length = LengthOf(entry);
    if (length == 0)
        return nullptr;
    const auto count =
        static_cast<uint32_t>(std::min<size_t>(length, static_cast<size_t>(end - op)));
    const uint32_t place = PlaceOf(entry);
    if (place != kNowhere) {
        const uint32_t prefix = std::min(count, length - 1); // the prefix sits at the place
        std::memcpy(op, out + place, prefix);
        if (count == length)
            op[length - 1] = LastOf(entry);
    } else {
        WriteStringPart(*s.table, code, 0, count, op);
    }
    if (count < length) {
        s.pendingCode = code;
        s.pendingDone = count;
    }
    return op + count;
}

// The decode routine for one bit order, from `op` to the end of the output. Everything hot is a
// local of this one function so that it stays in registers; the state is written back on exit.
template <class Bits>
int32_t DecodeCodes(LzwState &s, uint8_t *const out, uint8_t *const end, uint8_t *op) {
    LzwTable &t = *s.table;
    uint64_t acc = s.bitAcc;
    uint32_t count = s.bitsInAcc;
    const uint8_t *in = s.in;
    const uint8_t *const inEnd = s.inEnd;
    // Whole 8-byte loads are allowed while `in` is below this.
    const uint8_t *const inFastEnd = inEnd - in >= 8 ? inEnd - 7 : in;
    uint32_t width = s.width;
    uint32_t growth = s.growthEntry;
    uint32_t prev = s.prevCode;
    // Before the first code there is no previous string: a table that is full as far as the
    // checks below can see makes any code but a clear corrupt.
    uint32_t nextFree = prev == kNoCode ? kTableSize : s.nextFree;
    uint64_t prevEntry = prev == kNoCode ? kEmptyEntry : t.entries[prev];
    uint32_t prevPlace = kNowhere; // where the previous code's string starts in this output
    uint32_t placedFrom = s.placedFrom;

    const auto bitsLeft = [&] { return count + uint64_t{8} * static_cast<size_t>(inEnd - in); };
    const auto nextCode = [&](uint32_t &code) {
        if (count < width) {
            if (in < inFastEnd) [[likely]] {
                Bits::RefillFast(acc, count, in);
            } else {
                if (bitsLeft() < width) {
                    TiffWarning(s.module, kNoEoiWarning);
                    return false;
                }
                Bits::RefillTail(acc, count, in, inEnd);
            }
        }
        code = Bits::Take(acc, count, width);
        return true;
    };

    int32_t status = kLzwOk;
    uint32_t code = 0;
    while (op < end) {
        if (!nextCode(code))
            break;
        if (code - kCodeClear < 2) [[unlikely]] {
            if (code == kCodeEoi)
                break;
            // Clear: restart the table and take the next code as a single byte.
            nextFree = kCodeFirst;
            placedFrom = kCodeFirst;
            width = kMinWidth;
            growth = MaskOf(kMinWidth) - 1 + Bits::kGrowthLag;
            if (!nextCode(code) || code == kCodeEoi)
                break;
            if (code >= kCodeClear) {
                // Not a byte: written as one all the same, and it becomes an empty prefix.
                t.entries[code] = kEmptyEntry;
                t.links[code] = kSentinel;
            }
            prevPlace = static_cast<uint32_t>(op - out);
            *op++ = static_cast<uint8_t>(code);
            prev = code;
            prevEntry = t.entries[code];
            continue;
        }
        if (code > nextFree || nextFree >= kTableSize) [[unlikely]] {
            status = kLzwCorrupt;
            break;
        }
        // The new entry: the previous string plus the first byte of this code's string, which
        // was written right after the previous string. An entry defined by its own code ends
        // with the previous string's first byte.
        const uint64_t current = t.entries[code];
        const bool selfDefined = code == nextFree;
        const uint64_t lastFrom = selfDefined ? prevEntry : current;
        const uint64_t added = ((prevEntry & kLengthAndFirst) + (uint64_t{1} << 32)) |
                               (lastFrom >> 56 << 48) | prevPlace;
        t.entries[nextFree] = added;
        t.links[nextFree] = static_cast<uint16_t>(prev);
        // The width grows once the next free entry passes the growth entry, (mask - 1) for
        // TIFF 6.0 codes and mask for old-style ones.
        if (++nextFree > growth) {
            width = std::min(width + 1, kMaxWidth);
            growth = MaskOf(width) - 1 + Bits::kGrowthLag;
        }
        const uint64_t entry = selfDefined ? added : current;

        const auto here = static_cast<uint32_t>(op - out);
        const uint32_t length = LengthOf(entry);
        const uint32_t place = PlaceOf(entry);
        // Fast path: the string's prefix sits earlier in this output and whole 16-byte chunks
        // fit; the bytes written past the prefix are overwritten by the last byte and by the
        // strings that follow.
        if (place != kNowhere && uint64_t{length - 1} + 16 < static_cast<uint64_t>(end - op))
            [[likely]] {
            Copy16(op, out + place);
            for (uint32_t i = 16; i < length; i += 16)
                [[unlikely]] Copy16(op + i, out + place + i);
            op[length - 1] = LastOf(entry);
            op += length;
        } else if ((op = WriteCarefully(s, code, entry, op, out, end)) == nullptr) {
            status = kLzwCorrupt;
            break;
        }
        prev = code;
        prevEntry = entry;
        prevPlace = here;
    }

    s.bitAcc = acc;
    s.bitsInAcc = count;
    s.in = in;
    s.bitsLeft = bitsLeft();
    s.width = width;
    s.mask = MaskOf(width);
    if (prev != kNoCode)
        s.nextFree = nextFree;
    s.placedFrom = placedFrom;
    s.prevCode = prev;
    s.growthEntry = growth;
    if (status != kLzwOk)
        return status;
    // The data ran out or EOI came before the output was full.
    return op != nullptr && op < end ? kLzwCorrupt : kLzwOk;
}

} // namespace

int32_t LZWSetupDecode(LzwState &s) {
    if (!s.table) {
        s.table.reset(new (std::nothrow) LzwTable);
        if (!s.table)
            return s.error = kLzwNoMemory;
    }
    // Single bytes are placed at offset 0: the fast path copies whatever is there and then
    // writes the byte itself as the string's last byte.
    for (uint32_t c = 0; c < 256; ++c) {
        s.table->entries[c] = Pack(0, 1, c, c);
        s.table->links[c] = kSentinel;
    }
    for (uint32_t c : {kCodeClear, kCodeEoi, uint32_t{kSentinel}}) {
        s.table->entries[c] = kEmptyEntry;
        s.table->links[c] = kSentinel;
    }
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
    s.pendingCode = kNoCode;
    s.pendingDone = 0;
    s.placedFrom = kCodeFirst;
    // Entries from kCodeFirst up are not wiped: a code above the next free entry is rejected
    // before its entry is read, so stale entries are never seen.
    return s.error = kLzwOk;
}

int32_t LZWDecode(LzwState &s, std::span<uint8_t> output) {
    if (s.error != kLzwOk)
        return s.error;
    if (!s.table || s.routine == LzwRoutine::None || output.size() >= kNowhere)
        return s.error = kLzwCorrupt;
    ForgetPlaces(s);
    uint8_t *const out = output.data();
    uint8_t *const end = out + output.size();
    uint8_t *op = out;
    if (s.pendingCode != kNoCode)
        op = ResumePending(s, op, end);
    int32_t status = kLzwOk;
    if (op < end) {
        status = s.routine == LzwRoutine::OldStyle ? DecodeCodes<LsbFirst>(s, out, end, op)
                                                   : DecodeCodes<MsbFirst>(s, out, end, op);
    }
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
