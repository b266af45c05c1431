// One OpenJPEG decoder on a codestream held in the pipeline's stream: whole tiles or areas
// at a reduction, with the codec's own messages kept as the reason of a failure.
#pragma once
#include "Jpeg2000Stream.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace engines::jpeg2000 {

// What the last decode produced: one plane of 32-bit samples per codestream component, at the
// reduction, for the reduced reference-grid area starting at (x, y).
struct DecodedArea {
    uint32_t x = 0, y = 0, width = 0, height = 0;
    std::vector<const int32_t *> planes;
};

class Jpeg2000Codec {
public:
    Jpeg2000Codec();
    ~Jpeg2000Codec();
    Jpeg2000Codec(const Jpeg2000Codec &) = delete;
    Jpeg2000Codec &operator=(const Jpeg2000Codec &) = delete;

    // Reads the main header of the codestream at `offset` (`length` bytes) of `bytes`'s stream.
    bool open(StreamBytes &bytes, uint64_t offset, uint64_t length, int threads);
    // Decodes tile `index` whole at 2^level reduction. A failed decode leaves the codec unusable.
    bool decodeTile(uint32_t index, uint32_t level, DecodedArea &out);
    // Decodes the reference-grid area [x0, x1) × [y0, y1) at 2^level reduction.
    bool decodeArea(uint32_t x0, uint32_t y0, uint32_t x1, uint32_t y1, uint32_t level,
                    DecodedArea &out);
    // The codec's messages on the last failure.
    const std::string &error() const { return error_; }

private:
    struct State;
    bool setLevel(uint32_t level);
    bool collect(DecodedArea &out);

    std::unique_ptr<State> state_;
    std::string error_;
};

} // namespace engines::jpeg2000
