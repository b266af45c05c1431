// Fuzzes GeoKey extraction and decoding and the coordinate system extraction behind them: the
// input is read once as a whole TIFF file, and once as the contents of the GeoTIFF tags of a
// TIFF built around them.
#include "Subsystems/TiffImage/TiffImageRead.h"
#include "Subsystems/TiffImage/TiffSource.h"
#include "georef/GeoKeyBundle.h"
#include "georef/GeoTiffExtract.h"
#include "georef/GeoTiffKeys.h"
#include "georef/GeoTiffParams.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

namespace {

void Extract(tiff::TiffImageRead &file) {
    const int images = static_cast<int>(file.GetImageCount());
    for (int image = 1; image <= images && image <= 4; ++image) {
        georef::GeoKeyBundle bundle;
        georef::GeoTiffExtractKeys(file, image, bundle);
        georef::GeoTiffParams params;
        georef::GeoTiffBundleToParams(bundle, params);
        georef::GeoTiffPieces pieces;
        if (georef::GeoTiffExtractPieces(file, image, pieces)) {
            gcs::GCSDef system;
            georef::GeoTiffAssemble(pieces, system);
        }
    }
}

// A little-endian classic TIFF with one directory of the given (sorted) tags.
class TiffWriter {
public:
    void Add(uint16_t tag, uint16_t type, uint32_t count, std::vector<unsigned char> bytes) {
        tags_.push_back({tag, type, count, std::move(bytes)});
    }

    std::vector<unsigned char> Build() const {
        std::vector<unsigned char> out = {'I', 'I', 42, 0, 8, 0, 0, 0};
        Put(out, tags_.size(), 2);
        size_t data = 8 + 2 + tags_.size() * 12 + 4;
        std::vector<unsigned char> values;
        for (const Tag &t : tags_) {
            Put(out, t.tag, 2);
            Put(out, t.type, 2);
            Put(out, t.count, 4);
            if (t.bytes.size() <= 4) {
                std::vector<unsigned char> field = t.bytes;
                field.resize(4, 0);
                out.insert(out.end(), field.begin(), field.end());
            } else {
                Put(out, data + values.size(), 4);
                values.insert(values.end(), t.bytes.begin(), t.bytes.end());
            }
        }
        Put(out, 0, 4);
        out.insert(out.end(), values.begin(), values.end());
        out.resize(std::max<size_t>(out.size(), 32), 0);
        return out;
    }

private:
    struct Tag {
        uint16_t tag, type;
        uint32_t count;
        std::vector<unsigned char> bytes;
    };
    static void Put(std::vector<unsigned char> &out, uint64_t value, size_t size) {
        for (size_t i = 0; i < size; ++i)
            out.push_back(static_cast<unsigned char>(value >> (8 * i)));
    }
    std::vector<Tag> tags_;
};

// Consumes the input front to back; missing bytes read as zeros.
class Input {
public:
    Input(const uint8_t *data, size_t size) : data_(data), size_(size) {}
    uint8_t Byte() { return pos_ < size_ ? data_[pos_++] : 0; }
    std::vector<unsigned char> Bytes(size_t n) {
        std::vector<unsigned char> bytes(n, 0);
        for (size_t i = 0; i < n; ++i)
            bytes[i] = Byte();
        return bytes;
    }
    std::vector<unsigned char> Rest() { return Bytes(size_ - std::min(pos_, size_)); }

private:
    const uint8_t *data_;
    size_t size_;
    size_t pos_ = 0;
};

// byte 0: key entries; byte 1: doubles; byte 2: tie points (low 2 bits), pixel scale (bit 2),
// matrix (bit 3), Intergraph matrix (bit 4); then the directory words after the header, the
// doubles and the text. Tie points, scale and matrix reuse the double store's bytes.
std::vector<unsigned char> BuildFromParts(const uint8_t *data, size_t size) {
    Input in(data, size);
    const size_t keys = in.Byte() % 64, doubles = in.Byte() % 64, layout = in.Byte();
    std::vector<unsigned char> directory = {1, 0, 1, 0, 0, 0, static_cast<unsigned char>(keys), 0};
    const std::vector<unsigned char> words = in.Bytes(keys * 8);
    directory.insert(directory.end(), words.begin(), words.end());
    std::vector<unsigned char> store = in.Bytes(doubles * 8);
    std::vector<unsigned char> text = in.Rest();
    text.push_back(0);
    std::vector<unsigned char> padded = store;
    padded.resize(std::max<size_t>(padded.size(), 18 * 8), 0); // up to three tie points
    auto first = [&](size_t n) {
        return std::vector<unsigned char>(padded.begin(), padded.begin() + n * 8);
    };

    TiffWriter tiff;
    tiff.Add(256, 3, 1, {1, 0});
    tiff.Add(257, 3, 1, {1, 0});
    if (layout & 4)
        tiff.Add(33550, 12, 3, first(3));
    if (layout & 16)
        tiff.Add(33920, 12, 16, first(16));
    if (layout & 3)
        tiff.Add(33922, 12, 6 * (layout & 3), first(6 * (layout & 3)));
    if (layout & 8)
        tiff.Add(34264, 12, 16, first(16));
    tiff.Add(34735, 3, static_cast<uint32_t>(directory.size() / 2), directory);
    if (doubles)
        tiff.Add(34736, 12, static_cast<uint32_t>(doubles), store);
    tiff.Add(34737, 2, static_cast<uint32_t>(text.size()), text);
    return tiff.Build();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    tiff::TiffImageRead whole;
    if (whole.OpenSource(tiff::MakeMemorySource(data, size), L"fuzz.tif"))
        Extract(whole);

    tiff::TiffImageRead built;
    if (built.OpenSource(tiff::MakeMemorySource(BuildFromParts(data, size)), L"built.tif"))
        Extract(built);
    return 0;
}
