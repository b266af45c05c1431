// LZW decoder for TIFF compression 5: TIFF 6.0 codes (MSB first, early width change) and the
// old-style codes of early writers (LSB first, width change on time), libtiff-compatible.
#pragma once
#include <cstdint>
#include <memory>
#include <span>

namespace tiff {

enum LzwStatus : int32_t {
    kLzwOk = 0,
    kLzwCorrupt = -1,  // corrupt codes, invalid table position, short data or misuse
    kLzwNoMemory = -2, // the code table could not be allocated
};

// One code-table entry: a string as a link to its prefix plus its last byte.
struct LzwCode {
    uint64_t outPos;   // where this string sits in the current call's output (see LzwState)
    uint16_t link;     // entry of the prefix; the sentinel entry for a single byte
    uint16_t length;   // 0 for an entry that holds no string
    uint8_t value;     // last byte of the string
    uint8_t firstChar; // first byte of the string
};

enum class LzwRoutine : uint8_t { None, NewStyle, OldStyle };

// The whole decoder state, driven through the hooks below. Plain data so that it can live on
// the stack; only LZWSetupDecode and LZWCleanup touch the table's lifetime.
struct LzwState {
    const char *module = ""; // shown in warnings
    LzwRoutine routine = LzwRoutine::None;
    int32_t error = kLzwOk;

    // Input and bit accumulator.
    const uint8_t *in = nullptr;
    const uint8_t *inEnd = nullptr;
    uint64_t bitAcc = 0;
    uint32_t bitsInAcc = 0;
    uint64_t bitsLeft = 0; // bits of the input not yet taken as codes

    // Code table.
    uint32_t width = 9;
    uint32_t mask = 511;
    uint32_t nextFree = 258;
    uint32_t prevCode = UINT32_MAX; // none before the first code
    uint32_t growthEntry = 510;
    bool tainted = false; // an empty entry became a prefix since the last clear code
    std::unique_ptr<LzwCode[]> table;

    // A string cut at the end of the previous call: its code and the bytes already written.
    uint32_t pendingCode = UINT32_MAX;
    uint32_t pendingDone = 0;

    // Output positions run on across calls so that a stored position tells whether the string
    // lies in the current call's output: positions below callBase belong to earlier calls.
    uint64_t callBase = 1;
};

// Hooks in libtiff's order: set-up allocates the table, pre-decode starts a strip or tile over
// `input` (which must outlive the decode calls), decode fills `output` completely and can stop
// in the middle of a string and resume on the next call, clean-up frees the table. Each
// returns a LzwStatus and keeps it in state.error.
int32_t LZWSetupDecode(LzwState &state);
int32_t LZWPreDecode(LzwState &state, std::span<const uint8_t> input);
int32_t LZWDecode(LzwState &state, std::span<uint8_t> output);
void LZWCleanup(LzwState &state);

// Decodes one strip of `inSize` bytes into exactly `outSize` bytes with a fresh state.
int32_t LZWDecodeStrip(unsigned char *out, const unsigned char *in, uint32_t outSize,
                       uint32_t inSize);

// Writes "TIFFWarning(<module>):  <text>" to standard output.
void TiffWarning(const char *module, const char *text);

} // namespace tiff
