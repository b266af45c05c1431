// Fuzzes strip decoding: the first bytes choose the compression, predictor, bits per sample,
// samples per pixel, rows, decoded size, byte order and whether the reader may lend the bytes
// without a copy; the rest is the strip, placed after a small TIFF header in memory.
#include "Subsystems/TiffImage/TiffDecodeStrip.h"
#include "Subsystems/TiffImage/TiffRead.h"
#include "Subsystems/TiffImage/TiffSource.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

namespace {

constexpr uint32_t kStripOffset = 32;

// A memory source that only reads, so that the decoder takes its copying path.
class ReadOnlySource final : public tiff::TiffSource {
public:
    explicit ReadOnlySource(std::vector<unsigned char> bytes)
        : inner_(tiff::MakeMemorySource(std::move(bytes))) {}
    bool Length(uint64_t &length) override { return inner_->Length(length); }
    bool Seek(uint64_t position) override { return inner_->Seek(position); }
    size_t Read(void *dest, size_t size) override { return inner_->Read(dest, size); }

private:
    std::unique_ptr<tiff::TiffSource> inner_;
};

// A classic TIFF with one ImageWidth entry, the strip at kStripOffset.
std::vector<unsigned char> TinyTiff(bool bigEndian, const uint8_t *strip, size_t size) {
    std::vector<unsigned char> f(kStripOffset, 0);
    const unsigned char le[] = {'I', 'I', 42, 0, 8, 0, 0, 0, 1, 0, 0, 1, 3, 0, 1, 0, 0, 0, 1, 0};
    const unsigned char be[] = {'M', 'M', 0, 42, 0, 0, 0, 8, 0, 1, 1, 0, 0, 3, 0, 0, 0, 1, 0, 1};
    std::memcpy(f.data(), bigEndian ? be : le, sizeof le);
    f.insert(f.end(), strip, strip + size);
    return f;
}

tiff::TiffDirectory Directory(uint32_t compression, uint32_t predictor, uint32_t bits,
                              uint32_t samples) {
    tiff::TiffDirectory dir;
    const auto add = [&](uint16_t tag, uint32_t value) {
        tiff::TiffEntry e;
        e.tag = tag;
        e.type = tiff::kTypeLong;
        e.count = 1;
        std::memcpy(e.value, &value, 4);
        dir.entries.push_back(e);
    };
    add(258, bits);
    add(259, compression);
    add(277, samples);
    add(317, predictor);
    return dir;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
    if (std::freopen("/dev/null", "w", stdout) == nullptr) // LZW warnings
        std::abort();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size < 8)
        return 0;
    static const uint32_t kCompressions[] = {1, 5, 8, 32773, 32946, 5, 8, 7};
    static const uint32_t kBits[] = {8, 16, 32, 64, 24, 1, 4, 12, 0};
    const uint32_t compression = kCompressions[data[0] % 8];
    const uint32_t predictor = data[1] % 4 == 0 ? data[1] : 1 + data[1] % 3;
    const uint32_t bits = kBits[data[2] % 9];
    const uint32_t samples = data[3] % 6;
    const uint32_t rows = data[4] % 17;
    const uint32_t decodedSize = (uint32_t{data[5]} << 8 | data[6]) * 4 + data[7] % 4;
    const bool bigEndian = (data[7] & 0x10) != 0;
    const bool lend = (data[7] & 0x20) != 0;
    // Now and then claim more compressed bytes than the file holds.
    const auto stripSize = static_cast<uint32_t>(size - 8);
    const uint32_t compressedSize = (data[7] & 0xC0) == 0xC0 ? stripSize + 1000 : stripSize;

    std::vector<unsigned char> file = TinyTiff(bigEndian, data + 8, size - 8);
    tiff::CTiffReader reader;
    const bool opened =
        lend ? reader.Open(tiff::MakeMemorySource(std::move(file)), L"fuzz.tif")
             : reader.Open(std::make_unique<ReadOnlySource>(std::move(file)), L"fuzz.tif");
    if (!opened)
        std::abort();
    std::vector<unsigned char> out(decodedSize);
    const bool ok =
        tiff::ImageDecodeStrip(reader, Directory(compression, predictor, bits, samples),
                               kStripOffset, rows, compressedSize, decodedSize, out.data());
    if (!ok && reader.Error().code == 0)
        std::abort(); // every failure records its status
    return 0;
}
