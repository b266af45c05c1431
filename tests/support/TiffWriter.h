// One in-memory TIFF writer for every test: classic or BigTIFF, either byte order, strips or
// tiles, chained directories, GeoTIFF tags, and fields written wrong on purpose.
#pragma once
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace testsupport {

using Bytes = std::vector<unsigned char>;

// Field types by number, as far as tests name them.
enum : uint16_t { kByte = 1, kAscii = 2, kShort = 3, kLong = 4, kDouble = 12 };

struct Entry {
    uint16_t tag = 0, type = 0;
    uint64_t count = 0;
    Bytes data;                 // values in the file's byte order
    bool overrideField = false; // write `field` instead of the values or their offset
    uint64_t field = 0;
    std::vector<size_t> blobs; // values are the offsets of these blobs
};

struct Directory {
    std::vector<Entry> entries;
    bool overrideNext = false; // write `next` instead of the following directory's offset
    uint64_t next = 0;
    bool overrideCount = false; // write `count` as the entry count
    uint64_t count = 0;

    void Remove(uint16_t tag) {
        std::erase_if(entries, [&](auto &e) { return e.tag == tag; });
    }
};

// One GeoKey directory entry: key id, location (0, 34736 or 34737), count, value or index.
struct GeoKey {
    uint16_t id, location, count, value;
};

class TiffWriter {
public:
    explicit TiffWriter(bool bigEndian = false, bool bigTiff = false)
        : bigEndian_(bigEndian), bigTiff_(bigTiff) {}

    Directory &AddDirectory() { return dirs_.emplace_back(); }
    Directory &Dir(size_t i) { return dirs_[i]; }
    void SetVersion(uint16_t version) { version_ = version; }
    void SetFirstIfd(uint64_t offset) { firstIfd_ = {true, offset}; }
    // Image data after the directories, so that cutting the file short loses pixels, not tags.
    void SetDataLast(bool last) { dataLast_ = last; }

    Entry &AddUInts(Directory &d, uint16_t tag, uint16_t type, const std::vector<uint64_t> &values);
    Entry &AddRationals(Directory &d, uint16_t tag, uint16_t type,
                        const std::vector<std::pair<int64_t, int64_t>> &values);
    Entry &AddDoubles(Directory &d, uint16_t tag, const std::vector<double> &values);
    // Text and its NUL; `type` kByte writes the same bytes as BYTE.
    Entry &AddAscii(Directory &d, uint16_t tag, const std::string &text, uint16_t type = kAscii,
                    bool withNul = true);
    // An entry whose value field is written as given (count and type unchecked).
    Entry &AddRaw(Directory &d, uint16_t tag, uint16_t type, uint64_t count, uint64_t field);
    // Replaces the values of an entry already in the directory, or adds it.
    Entry &SetUInts(Directory &d, uint16_t tag, uint16_t type, const std::vector<uint64_t> &values);
    // Strips (273/279) or tiles (324/325) of these bytes; an empty chunk is offset 0, count 0.
    void AddChunks(Directory &d, const std::vector<Bytes> &chunks, bool tiled);
    // Bytes placed before the directories (or after, see SetDataLast); returns their index.
    size_t AddBlob(const Bytes &bytes);
    // A GeoKey directory with the header {1, 1, 0, count}.
    void AddGeoKeys(Directory &d, const std::vector<GeoKey> &keys);

    Bytes Build() const;

private:
    Entry &Add(Directory &d, uint16_t tag, uint16_t type, uint64_t count);
    void Put(Bytes &out, uint64_t v, size_t size) const;
    void Patch(Bytes &out, size_t pos, uint64_t v, size_t size) const;

    bool bigEndian_, bigTiff_;
    bool dataLast_ = false;
    uint16_t version_ = 0;
    std::pair<bool, uint64_t> firstIfd_{false, 0};
    std::vector<Directory> dirs_;
    std::vector<Bytes> blobs_;
};

// A file in the tests' scratch folder holding `bytes`; returns its path.
std::string WriteScratch(const std::string &name, const Bytes &bytes);
std::string ScratchPath(const std::string &name);
std::wstring Wide(const std::string &text);

} // namespace testsupport
