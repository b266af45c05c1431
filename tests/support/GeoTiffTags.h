// GeoTIFF tags on the shared writer: each directory starts as a 1 x 1 image, later tags go to
// the newest one, and setting a tag again replaces it.
#pragma once
#include "TiffWriter.h"

namespace testsupport {

class GeoTiffTags {
public:
    explicit GeoTiffTags(bool bigEndian = false) : writer_(bigEndian) { AddImage(); }

    void AddImage() {
        Directory &d = writer_.AddDirectory();
        ++count_;
        writer_.AddUInts(d, 256, kShort, {1});
        writer_.AddUInts(d, 257, kShort, {1});
    }
    TiffWriter &Writer() { return writer_; }
    Directory &Dir() { return writer_.Dir(count_ - 1); }

    void Shorts(uint16_t tag, const std::vector<uint64_t> &values, uint16_t type = kShort) {
        writer_.SetUInts(Dir(), tag, type, values);
    }
    void Doubles(uint16_t tag, const std::vector<double> &values) {
        Dir().Remove(tag);
        writer_.AddDoubles(Dir(), tag, values);
    }
    void Text(uint16_t tag, const std::string &text, uint16_t type = kAscii, bool withNul = true) {
        Dir().Remove(tag);
        writer_.AddAscii(Dir(), tag, text, type, withNul);
    }
    void Keys(const std::vector<GeoKey> &keys) {
        Dir().Remove(34735);
        writer_.AddGeoKeys(Dir(), keys);
    }

    Bytes Build() const { return writer_.Build(); }
    std::wstring Write(const std::string &name) const { return Wide(WriteScratch(name, Build())); }

private:
    TiffWriter writer_;
    size_t count_ = 0;
};

} // namespace testsupport
