// Tiles shared among worker threads through a common counter.
#include "Jpeg2000TileWorkers.h"

#include <algorithm>
#include <atomic>
#include <mutex>
#include <new>
#include <system_error>
#include <thread>

namespace engines::jpeg2000 {

TileWorkers::TileWorkers(StreamBytes &bytes, uint64_t offset, uint64_t length, unsigned workers)
    : bytes_(bytes), offset_(offset), length_(length), codecs_(std::max(workers, 1u)) {}

TileWorkers::~TileWorkers() = default;

bool TileWorkers::decode(const std::vector<uint32_t> &tiles, uint32_t level, const Take &take) {
    if (level != level_) {
        // A codec that has decoded keeps its reduction: new levels need new codecs.
        for (auto &codec : codecs_)
            codec.reset();
        level_ = level;
    }
    std::atomic<size_t> next{0};
    std::atomic<bool> failed{false};
    std::mutex errorLock;
    const auto fail = [&](std::string reason) {
        const std::lock_guard<std::mutex> lock(errorLock);
        if (!failed.exchange(true))
            error_ = std::move(reason);
    };
    const auto work = [&](std::unique_ptr<Jpeg2000Codec> &codec) {
        try {
            for (size_t slot; !failed && (slot = next++) < tiles.size();) {
                if (codec == nullptr) {
                    codec = std::make_unique<Jpeg2000Codec>();
                    if (!codec->open(bytes_, offset_, length_, 1)) {
                        fail(codec->error());
                        codec.reset();
                        return;
                    }
                }
                DecodedArea area;
                if (!codec->decodeTile(tiles[slot], level, area)) {
                    fail(codec->error());
                    codec.reset(); // a failed decode leaves the codec unusable
                    return;
                }
                take(slot, area);
            }
        } catch (const std::bad_alloc &) {
            fail("no memory to decode a JPEG 2000 tile");
        }
    };
    const size_t count = std::min(codecs_.size(), tiles.size());
    std::vector<std::thread> threads;
    try {
        for (size_t w = 1; w < count; ++w)
            threads.emplace_back(work, std::ref(codecs_[w]));
    } catch (const std::system_error &) {
        // Fewer threads than asked for: the ones started and this one share the tiles.
    }
    work(codecs_[0]);
    for (std::thread &t : threads)
        t.join();
    return !failed;
}

} // namespace engines::jpeg2000
