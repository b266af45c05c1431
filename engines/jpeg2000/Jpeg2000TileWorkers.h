// Several tiles decoded side by side, one single-threaded codec per worker: the tiles of a strip
// share the cores better this way than one tile's code-blocks do, above all at reductions.
#pragma once
#include "Jpeg2000Codec.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace engines::jpeg2000 {

class StreamBytes;

class TileWorkers {
public:
    // `bytes` must outlive the workers and allow reads from several threads.
    TileWorkers(StreamBytes &bytes, uint64_t offset, uint64_t length, unsigned workers);
    ~TileWorkers();

    // Decodes `tiles` at 2^level reduction, handing each decoded tile and its slot in `tiles` to
    // `take` on the worker that decoded it. False with the first failure's reason in error().
    using Take = std::function<void(size_t slot, const DecodedArea &area)>;
    bool decode(const std::vector<uint32_t> &tiles, uint32_t level, const Take &take);
    const std::string &error() const { return error_; }

private:
    StreamBytes &bytes_;
    uint64_t offset_, length_;
    uint32_t level_ = 0;                                 // the level the codecs decode
    std::vector<std::unique_ptr<Jpeg2000Codec>> codecs_; // one a worker, opened when first used
    std::string error_;
};

} // namespace engines::jpeg2000
