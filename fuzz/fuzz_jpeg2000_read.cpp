// Fuzzes the JPEG 2000 engine from memory: boxes, codestream header, limits, then scenes at
// the finest and a reduced level (a window of at most 256 x 256 pixels keeps inputs quick).
#include "engines/jpeg2000/Jpeg2000Engine.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace {

using namespace LizardTech;

class MemoryStream final : public LTIOStreamInf {
public:
    MemoryStream(const uint8_t *data, size_t size) : data_(data), size_(size) {}
    bool isEOF() override { return position_ >= size_; }
    bool isOpen() override { return true; }
    LT_STATUS open() override { return LT_STS_Success; }
    LT_STATUS close() override { return LT_STS_Success; }
    lt_uint32 read(lt_uint8 *dest, lt_uint32 count) override {
        const size_t n = position_ < size_ ? std::min<size_t>(count, size_ - position_) : 0;
        std::memcpy(dest, data_ + position_, n);
        position_ += n;
        return static_cast<lt_uint32>(n);
    }
    lt_uint32 write(const lt_uint8 *, lt_uint32) override { return 0; }
    LT_STATUS seek(lt_int64 offset, LTIOSeekDir dir) override {
        const lt_int64 base = dir == LTIO_SEEK_DIR_BEG   ? 0
                              : dir == LTIO_SEEK_DIR_CUR ? static_cast<lt_int64>(position_)
                                                         : static_cast<lt_int64>(size_);
        if (base + offset < 0)
            return LT_STS_Failure;
        position_ = static_cast<size_t>(base + offset);
        return LT_STS_Success;
    }
    lt_int64 tell() override { return static_cast<lt_int64>(position_); }
    LTIOStreamInf *duplicate() override { return nullptr; }
    LT_STATUS getLastError() const override { return LT_STS_Success; }
    const char *getID() const override { return "fuzz"; }

private:
    const uint8_t *data_;
    size_t size_;
    size_t position_ = 0;
};

void ReadScene(LTIImageEngine &engine, double mag) {
    lt_uint32 width = 0, height = 0;
    if (engine.getDimsAtMag(mag, width, height) != LT_STS_Success)
        return;
    width = std::min<lt_uint32>(width, 256);
    height = std::min<lt_uint32>(height, 256);
    LTISceneBuffer buffer(engine.getPixelProps(), width, height);
    engine.read(LTIScene(0, 0, width, height, mag), buffer);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    MemoryStream stream(data, size);
    auto engine = engines::jpeg2000::MakeJpeg2000Engine();
    if (engine->initialize(stream) != LT_STS_Success)
        return 0;
    ReadScene(*engine, 1.0);
    ReadScene(*engine, std::max(engine->getMinMagnification(), 0.25));
    return 0;
}
