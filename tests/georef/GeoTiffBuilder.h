// Builds small classic TIFF files with GeoTIFF tags in memory (either byte order), so the
// georeferencing tests run on every build without libtiff.
#pragma once
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace georeftest {

struct TagData {
    uint16_t tag = 0;
    uint16_t type = 0;
    uint32_t count = 0;
    std::vector<uint64_t> raw; // values as bit patterns of the type's size
};

using GeoKeyEntry = std::vector<uint16_t>; // id, location, count, value or offset

class GeoTiffBuilder {
public:
    explicit GeoTiffBuilder(bool bigEndian = false) : bigEndian_(bigEndian) { AddImage(); }

    // Later tags go to the newest image.
    void AddImage() {
        images_.emplace_back();
        Shorts(256, {1}); // ImageWidth and ImageLength, so viewers accept the file
        Shorts(257, {1});
    }

    void Shorts(uint16_t tag, const std::vector<uint16_t> &values, uint16_t type = 3) {
        TagData &t = Tag(tag, type, values.size());
        for (uint16_t v : values)
            t.raw.push_back(v);
    }
    void Doubles(uint16_t tag, const std::vector<double> &values) {
        TagData &t = Tag(tag, 12, values.size());
        for (double v : values) {
            uint64_t bits;
            std::memcpy(&bits, &v, 8);
            t.raw.push_back(bits);
        }
    }
    // ASCII with its NUL; `type` 1 writes the same bytes as BYTE.
    void Text(uint16_t tag, const std::string &text, uint16_t type = 2, bool withNul = true) {
        TagData &t = Tag(tag, type, text.size() + (withNul ? 1 : 0));
        for (unsigned char c : text)
            t.raw.push_back(c);
        if (withNul)
            t.raw.push_back(0);
    }
    // A GeoKey directory: header {1, 1, 0, key count} and the entries as given.
    void Keys(const std::vector<GeoKeyEntry> &entries) {
        std::vector<uint16_t> words = {1, 1, 0, static_cast<uint16_t>(entries.size())};
        for (const GeoKeyEntry &e : entries)
            words.insert(words.end(), e.begin(), e.end());
        Shorts(34735, words);
    }

    std::vector<unsigned char> Build() const {
        std::vector<unsigned char> out;
        Put(out, bigEndian_ ? 0x4D4D : 0x4949, 2);
        Put(out, 42, 2);
        Put(out, 8, 4);
        for (size_t i = 0; i < images_.size(); ++i)
            WriteImage(out, images_[i], i + 1 == images_.size());
        return out;
    }

    // Writes the file under the test's build directory; returns its path.
    std::wstring Write(const std::string &name) const {
        const std::string path = std::string(IOSID_BUILD_DIR) + "/" + name;
        const std::vector<unsigned char> bytes = Build();
        FILE *f = std::fopen(path.c_str(), "wb");
        if (f) {
            std::fwrite(bytes.data(), 1, bytes.size(), f);
            std::fclose(f);
        }
        return std::wstring(path.begin(), path.end());
    }

private:
    static size_t TypeSize(uint16_t type) {
        switch (type) {
        case 3:
        case 8:
            return 2;
        case 4:
        case 9:
        case 11:
            return 4;
        case 5:
        case 10:
        case 12:
            return 8;
        default:
            return 1;
        }
    }

    TagData &Tag(uint16_t tag, uint16_t type, size_t count) {
        std::vector<TagData> &tags = images_.back();
        tags.erase(std::remove_if(tags.begin(), tags.end(),
                                  [&](const TagData &t) { return t.tag == tag; }),
                   tags.end());
        tags.push_back(TagData{tag, type, static_cast<uint32_t>(count), {}});
        return tags.back();
    }

    void Put(std::vector<unsigned char> &out, uint64_t value, size_t size) const {
        for (size_t i = 0; i < size; ++i) {
            const size_t shift = bigEndian_ ? (size - 1 - i) * 8 : i * 8;
            out.push_back(static_cast<unsigned char>(value >> shift));
        }
    }
    void PutAt(std::vector<unsigned char> &out, size_t at, uint64_t value, size_t size) const {
        std::vector<unsigned char> bytes;
        Put(bytes, value, size);
        std::copy(bytes.begin(), bytes.end(), out.begin() + at);
    }

    // The directory, then the out-of-line values; the next-IFD offset points past them.
    void WriteImage(std::vector<unsigned char> &out, std::vector<TagData> tags, bool last) const {
        std::sort(tags.begin(), tags.end(),
                  [](const TagData &a, const TagData &b) { return a.tag < b.tag; });
        Put(out, tags.size(), 2);
        std::vector<std::pair<size_t, const TagData *>> outOfLine;
        for (const TagData &t : tags) {
            Put(out, t.tag, 2);
            Put(out, t.type, 2);
            Put(out, t.count, 4);
            const size_t size = TypeSize(t.type);
            if (size * t.raw.size() <= 4) {
                std::vector<unsigned char> field;
                for (uint64_t v : t.raw)
                    Put(field, v, size);
                field.resize(4, 0);
                out.insert(out.end(), field.begin(), field.end());
            } else {
                outOfLine.emplace_back(out.size(), &t);
                Put(out, 0, 4);
            }
        }
        const size_t nextAt = out.size();
        Put(out, 0, 4);
        for (auto [fieldAt, t] : outOfLine) {
            if (out.size() % 2)
                out.push_back(0);
            PutAt(out, fieldAt, out.size(), 4);
            for (uint64_t v : t->raw)
                Put(out, v, TypeSize(t->type));
        }
        if (out.size() % 2)
            out.push_back(0);
        if (!last)
            PutAt(out, nextAt, out.size(), 4);
    }

    bool bigEndian_;
    std::vector<std::vector<TagData>> images_;
};

} // namespace georeftest
