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

// The code table, private to the decoder.
struct LzwTable;
struct LzwTableDeleter {
    void operator()(LzwTable *table) const;
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
    std::unique_ptr<LzwTable, LzwTableDeleter> table;

    // A string cut at the end of the previous call: its code and the bytes already written.
    uint32_t pendingCode = UINT32_MAX;
    uint32_t pendingDone = 0;

    // Entries remember where their strings were written in the output of the call that
    // defined them; once a call returns, those places are gone. Entries from this one up to
    // nextFree were defined by the last call.
    uint32_t placedFrom = 258;
};

// Hooks in libtiff's order: set-up allocates the table, pre-decode starts a strip or tile over
// `input` (which must outlive the decode calls), decode (one routine for rows, strips and tiles)
// fills `output` completely and can stop in the middle of a string and resume on the next call
// (outputs of up to 4 GiB - 2 bytes per call), clean-up frees the table. Each returns a
// LzwStatus and keeps it in state.error.
int32_t LZWSetupDecode(LzwState &state);
int32_t LZWPreDecode(LzwState &state, std::span<const uint8_t> input);
int32_t LZWDecode(LzwState &state, std::span<uint8_t> output);
void LZWCleanup(LzwState &state);

// Decodes one strip of `inSize` bytes into exactly `outSize` bytes with a fresh state.
int32_t LZWDecodeStrip(unsigned char *out, const unsigned char *in, uint32_t outSize,
                       uint32_t inSize);

} // namespace tiff
