// Builds small classic or BigTIFF files in memory, in either byte order, for the reader tests.
#pragma once
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace tifftest {

struct BuiltEntry {
    uint16_t tag = 0;
    uint16_t type = 0;
    uint64_t count = 0;
    std::vector<unsigned char> data; // values in the file's byte order
    bool overrideField = false;      // write `field` instead of the values or their offset
    uint64_t field = 0;
};

struct BuiltDirectory {
    std::vector<BuiltEntry> entries;
    bool overrideNext = false; // write `next` instead of the following directory's offset
    uint64_t next = 0;
    bool overrideCount = false;
    uint64_t count = 0; // the entry count written, when overridden
};

class TiffFileBuilder {
public:
    TiffFileBuilder(bool bigEndian, bool bigTiff) : bigEndian_(bigEndian), bigTiff_(bigTiff) {}

    BuiltDirectory &AddDirectory() { return dirs_.emplace_back(); }
    BuiltDirectory &Dir(size_t i) { return dirs_[i]; }
    void SetVersion(uint16_t version) { version_ = version; }
    void SetFirstIfd(uint64_t offset) {
        overrideFirst_ = true;
        firstIfd_ = offset;
    }

    // Unsigned integers of a 1, 2, 4 or 8-byte type.
    BuiltEntry &AddUInts(BuiltDirectory &d, uint16_t tag, uint16_t type,
                         const std::vector<uint64_t> &values) {
        BuiltEntry &e = Add(d, tag, type, values.size());
        for (uint64_t v : values)
            Put(e.data, v, TypeSize(type));
        return e;
    }
    BuiltEntry &AddRationals(BuiltDirectory &d, uint16_t tag, uint16_t type,
                             const std::vector<std::pair<int64_t, int64_t>> &values) {
        BuiltEntry &e = Add(d, tag, type, values.size());
        for (auto [num, den] : values) {
            Put(e.data, static_cast<uint64_t>(num), 4);
            Put(e.data, static_cast<uint64_t>(den), 4);
        }
        return e;
    }
    BuiltEntry &AddDoubles(BuiltDirectory &d, uint16_t tag, const std::vector<double> &values) {
        BuiltEntry &e = Add(d, tag, 12, values.size());
        for (double v : values) {
            uint64_t bits;
            std::memcpy(&bits, &v, 8);
            Put(e.data, bits, 8);
        }
        return e;
    }
    BuiltEntry &AddAscii(BuiltDirectory &d, uint16_t tag, const std::string &text) {
        BuiltEntry &e = Add(d, tag, 2, text.size() + 1);
        e.data.assign(text.begin(), text.end());
        e.data.push_back(0);
        return e;
    }
    // An entry whose value field is written as given (count and type unchecked).
    BuiltEntry &AddRaw(BuiltDirectory &d, uint16_t tag, uint16_t type, uint64_t count,
                       uint64_t field) {
        BuiltEntry &e = Add(d, tag, type, count);
        e.overrideField = true;
        e.field = field;
        return e;
    }

    // Bytes placed right after the header (image data); returns their file offset.
    uint64_t AddBlob(const std::vector<unsigned char> &bytes) {
        const uint64_t offset = HeaderSize() + blobs_.size();
        blobs_.insert(blobs_.end(), bytes.begin(), bytes.end());
        if (blobs_.size() % 2)
            blobs_.push_back(0);
        return offset;
    }

    // Layout: header, blobs, then each directory followed by its out-of-line values.
    std::vector<unsigned char> Build() const {
        std::vector<unsigned char> out;
        out.push_back(bigEndian_ ? 'M' : 'I');
        out.push_back(bigEndian_ ? 'M' : 'I');
        Put(out, version_ ? version_ : (bigTiff_ ? 43 : 42), 2);
        if (bigTiff_) {
            Put(out, 8, 2);
            Put(out, 0, 2);
        }
        const size_t firstPos = out.size();
        Put(out, 0, OffsetSize());
        out.insert(out.end(), blobs_.begin(), blobs_.end());
        std::vector<size_t> nextPos;
        std::vector<size_t> dirStart;
        for (const auto &d : dirs_) {
            dirStart.push_back(out.size());
            nextPos.push_back(WriteDirectory(out, d));
        }
        Patch(out, firstPos, overrideFirst_ ? firstIfd_ : (dirs_.empty() ? 0 : dirStart[0]));
        for (size_t i = 0; i < dirs_.size(); ++i) {
            uint64_t next = i + 1 < dirs_.size() ? dirStart[i + 1] : 0;
            if (dirs_[i].overrideNext)
                next = dirs_[i].next;
            Patch(out, nextPos[i], next);
        }
        return out;
    }

    static size_t TypeSize(uint16_t type) {
        switch (type) {
        case 1:
        case 2:
        case 6:
        case 7:
            return 1;
        case 3:
        case 8:
            return 2;
        case 4:
        case 9:
        case 11:
        case 13:
            return 4;
        case 5:
        case 10:
        case 12:
        case 16:
        case 17:
        case 18:
            return 8;
        default:
            return 0;
        }
    }

private:
    BuiltEntry &Add(BuiltDirectory &d, uint16_t tag, uint16_t type, uint64_t count) {
        BuiltEntry &e = d.entries.emplace_back();
        e.tag = tag;
        e.type = type;
        e.count = count;
        return e;
    }
    size_t OffsetSize() const { return bigTiff_ ? 8 : 4; }
    size_t HeaderSize() const { return bigTiff_ ? 16 : 8; }

    // Writes one directory and its values; returns the position of its next-offset field.
    size_t WriteDirectory(std::vector<unsigned char> &out, const BuiltDirectory &d) const {
        Put(out, d.overrideCount ? d.count : d.entries.size(), bigTiff_ ? 8 : 2);
        std::vector<size_t> fieldPos;
        for (const auto &e : d.entries) {
            Put(out, e.tag, 2);
            Put(out, e.type, 2);
            Put(out, e.count, bigTiff_ ? 8 : 4);
            fieldPos.push_back(out.size());
            Put(out, 0, OffsetSize());
        }
        const size_t nextPos = out.size();
        Put(out, 0, OffsetSize());
        for (size_t i = 0; i < d.entries.size(); ++i) {
            const auto &e = d.entries[i];
            if (e.overrideField) {
                Patch(out, fieldPos[i], e.field);
            } else if (e.data.size() <= OffsetSize()) {
                std::memcpy(out.data() + fieldPos[i], e.data.data(), e.data.size());
            } else {
                if (out.size() % 2)
                    out.push_back(0);
                Patch(out, fieldPos[i], out.size());
                out.insert(out.end(), e.data.begin(), e.data.end());
            }
        }
        return nextPos;
    }

    void Put(std::vector<unsigned char> &out, uint64_t v, size_t size) const {
        for (size_t i = 0; i < size; ++i) {
            const size_t shift = bigEndian_ ? (size - 1 - i) * 8 : i * 8;
            out.push_back(static_cast<unsigned char>(v >> shift));
        }
    }
    void Patch(std::vector<unsigned char> &out, size_t pos, uint64_t v) const {
        std::vector<unsigned char> bytes;
        Put(bytes, v, OffsetSize());
        std::memcpy(out.data() + pos, bytes.data(), bytes.size());
    }

    bool bigEndian_;
    bool bigTiff_;
    uint16_t version_ = 0;
    bool overrideFirst_ = false;
    uint64_t firstIfd_ = 0;
    std::vector<BuiltDirectory> dirs_;
    std::vector<unsigned char> blobs_;
};

} // namespace tifftest
