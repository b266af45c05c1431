// .raw output: the rows exactly as the host received them, one after another, no header.
#include "ReplacedFile.h"
#include "Writers.h"

namespace iosid::host {
namespace {

class RawWriter final : public ImageWriter {
public:
    RawWriter(const std::filesystem::path &path, uint32_t width, uint32_t height, RowFormat format)
        : file_(path), rows_(path, height), rowBytes_(RowBytes(format, width)) {}

    void WriteRow(uint32_t row, const uint8_t *data) override {
        rows_.Accept(row);
        file_.Write(data, rowBytes_);
    }

    void Commit() override {
        rows_.CheckComplete();
        file_.Commit();
    }

private:
    ReplacedFile file_;
    RowSequence rows_;
    size_t rowBytes_;
};

} // namespace

std::unique_ptr<ImageWriter> CreateRawWriter(const std::filesystem::path &path, uint32_t width,
                                             uint32_t height, RowFormat format) {
    return std::make_unique<RawWriter>(path, width, height, format);
}

} // namespace iosid::host
