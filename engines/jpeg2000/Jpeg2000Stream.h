// Bounded, big-endian reads of a JPEG 2000 file's bytes through the pipeline's input stream.
#pragma once
#include "lti/LTIOStreamInf.h"
#include "lti/LTIStatus.h"

#include <cstddef>
#include <cstdint>
#include <mutex>

namespace engines::jpeg2000 {

// Reads may come from several threads at once.
class StreamBytes {
public:
    // The stream must be open and outlive this reader.
    explicit StreamBytes(LizardTech::LTIOStreamInf &stream) : stream_(stream) {}

    // The stream's length (measured once); false when it cannot be found.
    bool length(uint64_t &length);
    // Exactly `size` bytes at `offset`; false when they are not all there.
    bool read(uint64_t offset, void *dest, size_t size);
    // Up to `size` bytes at `offset`; the count read.
    size_t readSome(uint64_t offset, void *dest, size_t size);

private:
    LizardTech::LTIOStreamInf &stream_;
    std::mutex lock_; // a seek and its read go together
    uint64_t length_ = 0;
    bool lengthKnown_ = false;
};

inline uint16_t BigEndian16(const uint8_t *p) { return static_cast<uint16_t>(p[0] << 8 | p[1]); }
inline uint32_t BigEndian32(const uint8_t *p) {
    return uint32_t{p[0]} << 24 | uint32_t{p[1]} << 16 | uint32_t{p[2]} << 8 | p[3];
}
inline uint64_t BigEndian64(const uint8_t *p) {
    return uint64_t{BigEndian32(p)} << 32 | BigEndian32(p + 4);
}

} // namespace engines::jpeg2000
