// A small writer of classic TIFF files for tests: tags in either byte order, the directory
// right after the header (so that cutting the file short loses pixel data, not the directory)
// and the strips last, with their offsets and counts filled in.
#pragma once
#include <cstdint>
#include <cstring>
#include <map>
#include <string>
#include <vector>

namespace sidtest {

class TiffBuilder {
public:
    explicit TiffBuilder(bool bigEndian = false) : big_(bigEndian) {}

    TiffBuilder &Short(uint16_t tag, std::vector<uint16_t> values) {
        std::string bytes;
        for (uint16_t v : values)
            Put(bytes, v, 2);
        return Field(tag, 3, values.size(), bytes);
    }
    TiffBuilder &Long(uint16_t tag, std::vector<uint32_t> values) {
        std::string bytes;
        for (uint32_t v : values)
            Put(bytes, v, 4);
        return Field(tag, 4, values.size(), bytes);
    }
    TiffBuilder &Double(uint16_t tag, std::vector<double> values) {
        std::string bytes;
        for (double v : values) {
            uint64_t bits;
            std::memcpy(&bits, &v, 8);
            Put(bytes, bits, 8);
        }
        return Field(tag, 12, values.size(), bytes);
    }
    TiffBuilder &Ascii(uint16_t tag, const std::string &text) {
        return Field(tag, 2, text.size() + 1, text + '\0');
    }
    // Strip data, stored as given (already compressed, in the file's byte order).
    TiffBuilder &Strip(std::string bytes) {
        strips_.push_back(std::move(bytes));
        return *this;
    }
    // A grey or colour image of `rows` strips' worth: width, height, samples, bits, photometric.
    TiffBuilder &Image(uint32_t width, uint32_t height, uint16_t samples, uint16_t bits,
                       uint16_t photometric, uint32_t rowsPerStrip) {
        Long(256, {width}).Long(257, {height}).Short(262, {photometric}).Short(277, {samples});
        Short(258, std::vector<uint16_t>(samples, bits));
        return Long(278, {rowsPerStrip});
    }

    std::string Build() const {
        std::map<uint16_t, Entry> fields = fields_;
        std::vector<uint32_t> offsets(strips_.size()), counts(strips_.size());
        fields[273] = {4, uint32_t(strips_.size()), std::string(strips_.size() * 4, '\0')};
        fields[279] = {4, uint32_t(strips_.size()), std::string(strips_.size() * 4, '\0')};
        const uint32_t ifdSize = 2 + 12 * uint32_t(fields.size()) + 4;
        uint32_t extra = 8 + ifdSize;
        for (const auto &[tag, e] : fields)
            if (e.bytes.size() > 4)
                extra += uint32_t(e.bytes.size() + e.bytes.size() % 2);
        uint32_t at = extra;
        for (size_t i = 0; i < strips_.size(); ++i) {
            offsets[i] = at;
            counts[i] = uint32_t(strips_[i].size());
            at += counts[i];
        }
        fields[273].bytes.clear();
        fields[279].bytes.clear();
        for (size_t i = 0; i < strips_.size(); ++i) {
            Put(fields[273].bytes, offsets[i], 4);
            Put(fields[279].bytes, counts[i], 4);
        }
        std::string out = big_ ? std::string("MM\0*", 4) : std::string("II*\0", 4);
        Put(out, 8, 4);
        std::string ifd, values;
        Put(ifd, fields.size(), 2);
        uint32_t valueAt = 8 + ifdSize;
        for (const auto &[tag, e] : fields) {
            Put(ifd, tag, 2);
            Put(ifd, e.type, 2);
            Put(ifd, e.count, 4);
            if (e.bytes.size() <= 4) {
                ifd += e.bytes + std::string(4 - e.bytes.size(), '\0');
                continue;
            }
            Put(ifd, valueAt, 4);
            values += e.bytes;
            if (e.bytes.size() % 2)
                values.push_back('\0');
            valueAt += uint32_t(e.bytes.size() + e.bytes.size() % 2);
        }
        Put(ifd, 0, 4);
        out += ifd + values;
        for (const auto &s : strips_)
            out += s;
        return out;
    }

    // A value in the file's byte order.
    void Put(std::string &out, uint64_t v, int size) const {
        for (int i = 0; i < size; ++i)
            out.push_back(char(big_ ? v >> (8 * (size - 1 - i)) : v >> (8 * i)));
    }

private:
    struct Entry {
        uint16_t type = 0;
        uint32_t count = 0;
        std::string bytes;
    };
    TiffBuilder &Field(uint16_t tag, uint16_t type, size_t count, const std::string &bytes) {
        fields_[tag] = {type, uint32_t(count), bytes};
        return *this;
    }

    bool big_;
    std::map<uint16_t, Entry> fields_;
    std::vector<std::string> strips_;
};

} // namespace sidtest
