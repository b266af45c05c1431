// The in-memory TIFF writer: header, directories, out-of-line values and image data, with
// offsets to blobs patched in once the layout is known.
#include "TiffWriter.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>

namespace testsupport {
namespace {

constexpr size_t kSparse = std::numeric_limits<size_t>::max();

size_t TypeSize(uint16_t type) {
    // Types 1 to 18 of TIFF 6.0 and BigTIFF; 14 and 15 are unassigned.
    static const unsigned char kSizes[] = {0, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8, 4, 0, 0, 8, 8, 8};
    return type < std::size(kSizes) ? kSizes[type] : 0;
}

} // namespace

Entry &TiffWriter::Add(Directory &d, uint16_t tag, uint16_t type, uint64_t count) {
    Entry &e = d.entries.emplace_back();
    e.tag = tag;
    e.type = type;
    e.count = count;
    return e;
}

Entry &TiffWriter::AddUInts(Directory &d, uint16_t tag, uint16_t type,
                            const std::vector<uint64_t> &values) {
    Entry &e = Add(d, tag, type, values.size());
    for (uint64_t v : values)
        Put(e.data, v, TypeSize(type));
    return e;
}

Entry &TiffWriter::SetUInts(Directory &d, uint16_t tag, uint16_t type,
                            const std::vector<uint64_t> &values) {
    d.Remove(tag);
    return AddUInts(d, tag, type, values);
}

Entry &TiffWriter::AddRationals(Directory &d, uint16_t tag, uint16_t type,
                                const std::vector<std::pair<int64_t, int64_t>> &values) {
    Entry &e = Add(d, tag, type, values.size());
    for (auto [num, den] : values) {
        Put(e.data, static_cast<uint64_t>(num), 4);
        Put(e.data, static_cast<uint64_t>(den), 4);
    }
    return e;
}

Entry &TiffWriter::AddDoubles(Directory &d, uint16_t tag, const std::vector<double> &values) {
    std::vector<uint64_t> bits(values.size());
    std::memcpy(bits.data(), values.data(), 8 * values.size());
    return AddUInts(d, tag, kDouble, bits);
}

Entry &TiffWriter::AddAscii(Directory &d, uint16_t tag, const std::string &text, uint16_t type,
                            bool withNul) {
    Entry &e = Add(d, tag, type, text.size() + (withNul ? 1 : 0));
    e.data.assign(text.c_str(), text.c_str() + e.count);
    return e;
}

Entry &TiffWriter::AddRaw(Directory &d, uint16_t tag, uint16_t type, uint64_t count,
                          uint64_t field) {
    Entry &e = Add(d, tag, type, count);
    e.overrideField = true;
    e.field = field;
    return e;
}

size_t TiffWriter::AddBlob(const Bytes &bytes) {
    blobs_.push_back(bytes);
    return blobs_.size() - 1;
}

void TiffWriter::AddChunks(Directory &d, const std::vector<Bytes> &chunks, bool tiled) {
    // LONG offsets in BigTIFF too: test files stay far below 4 GiB.
    Entry &offsets = Add(d, tiled ? 324 : 273, kLong, chunks.size());
    std::vector<uint64_t> counts;
    for (const Bytes &chunk : chunks) {
        offsets.blobs.push_back(chunk.empty() ? kSparse : AddBlob(chunk));
        counts.push_back(chunk.size());
    }
    offsets.data.assign(chunks.size() * 4, 0);
    AddUInts(d, tiled ? 325 : 279, kLong, counts);
}

void TiffWriter::AddGeoKeys(Directory &d, const std::vector<GeoKey> &keys) {
    std::vector<uint64_t> words = {1, 1, 0, keys.size()};
    for (const GeoKey &k : keys)
        words.insert(words.end(), {k.id, k.location, k.count, k.value});
    AddUInts(d, 34735, kShort, words);
}

void TiffWriter::Put(Bytes &out, uint64_t v, size_t size) const {
    out.resize(out.size() + size);
    Patch(out, out.size() - size, v, size);
}

void TiffWriter::Patch(Bytes &out, size_t pos, uint64_t v, size_t size) const {
    for (size_t i = 0; i < size; ++i)
        out[pos + i] = static_cast<unsigned char>(v >> (bigEndian_ ? (size - 1 - i) * 8 : i * 8));
}

// Layout: header, data (unless last), each directory followed by its out-of-line values.
Bytes TiffWriter::Build() const {
    const size_t offsetSize = bigTiff_ ? 8 : 4;
    Bytes out(2, bigEndian_ ? 'M' : 'I');
    Put(out, version_ ? version_ : (bigTiff_ ? 43 : 42), 2);
    if (bigTiff_)
        Put(out, 8, 4); // offset size 8, then a zero
    const size_t firstPos = out.size();
    Put(out, 0, offsetSize);
    std::vector<uint64_t> blobAt;
    const auto writeBlobs = [&] {
        for (const Bytes &blob : blobs_) {
            blobAt.push_back(out.size());
            out.insert(out.end(), blob.begin(), blob.end());
            out.resize(out.size() + out.size() % 2, 0);
        }
    };
    if (!dataLast_)
        writeBlobs();
    std::vector<size_t> dirAt, nextPos;
    // Value fields that hold blob offsets: position, field size, blob.
    std::vector<std::array<size_t, 3>> pending;
    for (const Directory &d : dirs_) {
        out.resize(out.size() + out.size() % 2, 0);
        dirAt.push_back(out.size());
        Put(out, d.overrideCount ? d.count : d.entries.size(), bigTiff_ ? 8 : 2);
        const size_t fields = out.size() + 4 + (bigTiff_ ? 8 : 4);
        const size_t entrySize = bigTiff_ ? 20 : 12;
        for (const Entry &e : d.entries) {
            Put(out, e.tag, 2);
            Put(out, e.type, 2);
            Put(out, e.count, bigTiff_ ? 8 : 4);
            Put(out, 0, offsetSize);
        }
        nextPos.push_back(out.size());
        Put(out, 0, offsetSize);
        for (size_t i = 0; i < d.entries.size(); ++i) {
            const Entry &e = d.entries[i];
            const size_t field = fields + i * entrySize;
            size_t valuePos = field;
            if (e.overrideField) {
                Patch(out, field, e.field, offsetSize);
                continue;
            }
            if (e.data.size() <= offsetSize) {
                std::memcpy(out.data() + field, e.data.data(), e.data.size());
            } else {
                out.resize(out.size() + out.size() % 2, 0);
                valuePos = out.size();
                Patch(out, field, valuePos, offsetSize);
                out.insert(out.end(), e.data.begin(), e.data.end());
            }
            const size_t size = TypeSize(e.type);
            for (size_t k = 0; k < e.blobs.size(); ++k)
                pending.push_back({valuePos + k * size, size, e.blobs[k]});
        }
    }
    if (dataLast_)
        writeBlobs();
    const uint64_t first = dirs_.empty() ? 0 : dirAt[0];
    Patch(out, firstPos, firstIfd_.first ? firstIfd_.second : first, offsetSize);
    for (size_t i = 0; i < dirs_.size(); ++i) {
        const uint64_t next = i + 1 < dirs_.size() ? dirAt[i + 1] : 0;
        Patch(out, nextPos[i], dirs_[i].overrideNext ? dirs_[i].next : next, offsetSize);
    }
    for (const auto &[pos, size, blob] : pending)
        Patch(out, pos, blob == kSparse ? 0 : blobAt[blob], size);
    return out;
}

std::string ScratchPath(const std::string &name) {
    // One folder per test program, so that programs run side by side never share a file.
#ifdef __GLIBC__
    const std::string dir = IOSID_SCRATCH_DIR "/" + std::string(program_invocation_short_name);
#else
    const std::string dir = IOSID_SCRATCH_DIR;
#endif
    std::filesystem::create_directories(dir);
    return dir + "/" + name;
}

std::string WriteScratch(const std::string &name, const Bytes &bytes) {
    const std::string path = ScratchPath(name);
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char *>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
    return path;
}

std::wstring Wide(const std::string &text) { return std::wstring(text.begin(), text.end()); }

} // namespace testsupport
