// CTiffReader: header, directory chain and out-of-line values of classic TIFF and BigTIFF files.
#include "TiffRead.h"

#include "TiffTags.h"
#include "shr/ByteSwap.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace tiff {
namespace {

const wchar_t kSourceFile[] = L"Subsystems/TiffImage/TiffRead";

constexpr uint64_t kMaxFileLength = 0xFFFFFFFFu;
constexpr uint64_t kMinFileLength = 28;
constexpr uint64_t kEndOfChainMarker = 0xFFFFFFFFu;
constexpr uint16_t kLittleEndianMark = 0x4949; // "II"
constexpr uint16_t kBigEndianMark = 0x4D4D;    // "MM"
constexpr uint16_t kBigTiffVersion = 43;

template <class T> T LoadRaw(const unsigned char *p) {
    T v;
    std::memcpy(&v, p, sizeof v);
    return v;
}

template <class T> T LoadOrdered(const unsigned char *p, bool bigEndian) {
    const T v = LoadRaw<T>(p);
    return bigEndian ? shr::ByteSwap(v) : v;
}

bool IsByteOrderMark(uint16_t mark) { return mark == kLittleEndianMark || mark == kBigEndianMark; }

} // namespace

CTiffReader::~CTiffReader() = default;

bool CTiffReader::Fail(int line, int32_t code) {
    error_.Set(kSourceFile, line, code);
    return false;
}

void CTiffReader::Close() {
    source_.reset();
    fileName_.clear();
    uiFileLength = 0;
    bBigEndian = false;
    bigTiff_ = false;
    error_.Clear();
    directories_.clear();
}

bool CTiffReader::Open(const std::wstring &filename) {
    Close();
    if (filename.empty())
        return Fail(__LINE__, kTiffNoNameOrBuffer);
    auto source = OpenFileSource(filename);
    if (!source) {
        fileName_ = filename;
        return Fail(__LINE__, kTiffCannotOpen);
    }
    return Open(std::move(source), filename);
}

bool CTiffReader::Open(std::unique_ptr<TiffSource> source, const std::wstring &name) {
    Close();
    fileName_ = name;
    if (!source)
        return Fail(__LINE__, kTiffCannotOpen);
    source_ = std::move(source);
    bool ok = false;
    try {
        ok = OpenSource();
    } catch (const std::bad_alloc &) {
        ok = Fail(__LINE__, kTiffNoMemory);
    }
    if (!ok) {
        // A failed open leaves no file and no directories, only the error record.
        source_.reset();
        directories_.clear();
    }
    return ok;
}

bool CTiffReader::OpenSource() {
    uint64_t length = 0;
    if (!source_->Length(length))
        return Fail(__LINE__, kTiffReadFailed);
    if (length > kMaxFileLength)
        return Fail(__LINE__, kTiffTooLarge);
    if (length < kMinFileLength)
        return Fail(__LINE__, kTiffReadFailed);
    uiFileLength = length;
    uint64_t firstIfd = 0;
    if (!ReadHeader(firstIfd))
        return false;
    if (firstIfd > kMaxFileLength)
        return Fail(__LINE__, kTiffTooLarge);
    std::unordered_set<uint64_t> visited;
    uint64_t totalEntries = 0;
    return ReadDirectoryChain(firstIfd, -1, visited, totalEntries) && LoadValues(0);
}

bool CTiffReader::ReadSubDirectories(unsigned parent) {
    if (!source_)
        return Fail(__LINE__, kTiffNotOpen);
    if (parent >= directories_.size())
        return Fail(__LINE__, kTiffBadFormat);
    const TiffEntry *subIfds = directories_[parent].Find(kTagSubIfds);
    if (subIfds == nullptr)
        return true;
    const uint16_t type = subIfds->type;
    if (type != kTypeLong && type != kTypeIfd && type != kTypeLong8 && type != kTypeIfd8)
        return Fail(__LINE__, kTiffBadFormat);
    std::unordered_set<uint64_t> visited;
    uint64_t totalEntries = 0;
    for (const TiffDirectory &dir : directories_) {
        visited.insert(dir.offset);
        totalEntries += dir.entries.size();
    }
    const size_t first = directories_.size();
    bool ok = true;
    try {
        for (uint64_t i = 0; ok && i < subIfds->HeldCount(); ++i) {
            const uint64_t offset = subIfds->GetUInt(i);
            if (offset < 8)
                ok = Fail(__LINE__, kTiffBadFormat);
            else
                ok =
                    ReadDirectoryChain(offset, static_cast<int32_t>(parent), visited, totalEntries);
        }
        ok = LoadValues(first) && ok;
    } catch (const std::bad_alloc &) {
        ok = Fail(__LINE__, kTiffNoMemory);
    }
    return ok;
}

bool CTiffReader::ReadExact(void *dest, size_t size, int line) {
    if (source_->Read(dest, size) != size)
        return Fail(line, kTiffReadFailed);
    return true;
}

bool CTiffReader::ReadHeader(uint64_t &firstIfd) {
    unsigned char header[16];
    if (!source_->Seek(0))
        return Fail(__LINE__, kTiffReadFailed);
    if (!ReadExact(header, 8, __LINE__))
        return false;
    const uint16_t mark = LoadRaw<uint16_t>(header);
    if (!IsByteOrderMark(mark))
        return Fail(__LINE__, kTiffBadFormat);
    bBigEndian = header[0] == 'M';
    const uint16_t version = LoadOrdered<uint16_t>(header + 2, bBigEndian);
    if (version != kBigTiffVersion) {
        // Any other version, 42 or not, is read as classic TIFF.
        firstIfd = LoadOrdered<uint32_t>(header + 4, bBigEndian);
        return true;
    }
    bigTiff_ = true;
    if (!source_->Seek(0))
        return Fail(__LINE__, kTiffReadFailed);
    if (!ReadExact(header, 16, __LINE__))
        return false;
    if (!IsByteOrderMark(LoadRaw<uint16_t>(header)))
        return Fail(__LINE__, kTiffBadFormat);
    // The offset-size field (bytes 4-5) and the reserved field are not checked.
    firstIfd = LoadOrdered<uint64_t>(header + 8, bBigEndian);
    return true;
}

bool CTiffReader::ReadDirectoryChain(uint64_t offset, int32_t parent,
                                     std::unordered_set<uint64_t> &visited,
                                     uint64_t &totalEntries) {
    for (;;) {
        if (offset >= uiFileLength)
            return Fail(__LINE__, kTiffBadFormat);
        // A chain that leads back to a directory already read ends there, as libtiff does.
        if (!visited.insert(offset).second)
            return true;
        if (directories_.size() >= kMaxDirectories)
            return Fail(__LINE__, kTiffNoMemory);
        TiffDirectory dir;
        dir.offset = offset;
        dir.parent = parent;
        uint64_t next = 0;
        if (!ReadDirectory(offset, dir, next, totalEntries))
            return false;
        directories_.push_back(std::move(dir));
        if (next == 0 || next == kEndOfChainMarker)
            return true;
        if (next >= uiFileLength)
            return Fail(__LINE__, kTiffBadFormat);
        if (next > kMaxFileLength)
            return Fail(__LINE__, kTiffTooLarge);
        offset = next;
    }
}

bool CTiffReader::ReadEntryCount(uint64_t &count) {
    if (bigTiff_) {
        unsigned char raw[8];
        if (!ReadExact(raw, sizeof raw, __LINE__))
            return false;
        count = LoadOrdered<uint64_t>(raw, bBigEndian);
        if (count < 1)
            return Fail(__LINE__, kTiffBadFormat);
        return true;
    }
    unsigned char raw[2];
    if (!ReadExact(raw, sizeof raw, __LINE__))
        return false;
    // The classic count is signed: 32768 entries and more read as negative.
    const auto signedCount = static_cast<int16_t>(LoadOrdered<uint16_t>(raw, bBigEndian));
    if (signedCount < 1)
        return Fail(__LINE__, kTiffBadFormat);
    count = static_cast<uint64_t>(signedCount);
    return true;
}

bool CTiffReader::ReadDirectory(uint64_t offset, TiffDirectory &dir, uint64_t &next,
                                uint64_t &totalEntries) {
    if (!source_->Seek(offset))
        return Fail(__LINE__, kTiffReadFailed);
    uint64_t count = 0;
    if (!ReadEntryCount(count))
        return false;
    const uint64_t entrySize = bigTiff_ ? 20 : 12;
    const uint64_t countSize = bigTiff_ ? 8 : 2;
    // Entries that cannot all be in the file would be a short read; found before allocating.
    if (count > (uiFileLength - offset - countSize) / entrySize)
        return Fail(__LINE__, kTiffReadFailed);
    if (count > kMaxEntriesPerDirectory || count > kMaxTotalEntries - totalEntries)
        return Fail(__LINE__, kTiffNoMemory);
    totalEntries += count;
    std::vector<unsigned char> raw(static_cast<size_t>(count * entrySize));
    if (!ReadExact(raw.data(), raw.size(), __LINE__))
        return false;
    dir.entries.resize(static_cast<size_t>(count));
    for (size_t i = 0; i < dir.entries.size(); ++i)
        DecodeEntry(raw.data() + i * entrySize, dir.entries[i]);
    unsigned char nextRaw[8];
    if (!ReadExact(nextRaw, bigTiff_ ? 8 : 4, __LINE__))
        return false;
    next = bigTiff_ ? LoadOrdered<uint64_t>(nextRaw, bBigEndian)
                    : LoadOrdered<uint32_t>(nextRaw, bBigEndian);
    return true;
}

void CTiffReader::DecodeEntry(const unsigned char *raw, TiffEntry &entry) const {
    entry.bigTiff = bigTiff_;
    entry.tag = LoadOrdered<uint16_t>(raw, bBigEndian);
    entry.type = LoadOrdered<uint16_t>(raw + 2, bBigEndian);
    entry.count = bigTiff_ ? LoadOrdered<uint64_t>(raw + 4, bBigEndian)
                           : LoadOrdered<uint32_t>(raw + 4, bBigEndian);
    const unsigned char *field = raw + (bigTiff_ ? 12 : 8);
    const uint32_t typeSize = TiffTypeSize(entry.type);
    if (entry.IsInline()) {
        // Inline values are swapped element by element, each by its type size.
        std::memcpy(entry.value, field, bigTiff_ ? 8 : 4);
        if (bBigEndian && typeSize > 1)
            shr::ByteSwapArray(entry.value, typeSize, static_cast<size_t>(entry.count));
        entry.rationalHalvesExchanged =
            bBigEndian && (entry.type == kTypeRational || entry.type == kTypeSRational);
        return;
    }
    if (bigTiff_) {
        const uint64_t offset = LoadOrdered<uint64_t>(field, bBigEndian);
        std::memcpy(entry.value, &offset, sizeof offset);
    } else {
        const uint32_t offset = LoadOrdered<uint32_t>(field, bBigEndian);
        std::memcpy(entry.value, &offset, sizeof offset);
    }
    entry.rationalHalvesExchanged = bBigEndian && entry.type == kTypeSRational;
}

// Loads the out-of-line values of the directories from `firstDirectory` on, within one budget
// for the whole file; a directory whose values cannot be loaded is dropped with those after it.
bool CTiffReader::LoadValues(size_t firstDirectory) {
    uint64_t budget = uiFileLength + kValueBytesSlack;
    for (size_t d = 0; d < firstDirectory; ++d)
        for (const auto &entry : directories_[d].entries)
            budget -= std::min<uint64_t>(budget, entry.values.size());
    for (size_t d = firstDirectory; d < directories_.size(); ++d) {
        for (auto &entry : directories_[d].entries) {
            if (!entry.IsInline() && !LoadEntryValues(entry, budget)) {
                directories_.resize(d);
                return false;
            }
        }
    }
    return true;
}

bool CTiffReader::LoadEntryValues(TiffEntry &entry, uint64_t &budget) {
    const uint64_t size = entry.DataSize();
    const uint64_t offset = entry.Offset();
    if (offset < 8 || offset >= uiFileLength)
        return Fail(__LINE__, kTiffBadFormat);
    // Every size is compared with the file before anything is allocated.
    if (size > uiFileLength)
        return Fail(__LINE__, kTiffBadFormat);
    if (size > uiFileLength - offset)
        return Fail(__LINE__, kTiffReadFailed);
    if (size > budget)
        return Fail(__LINE__, kTiffNoMemory);
    budget -= size;
    entry.values.resize(static_cast<size_t>(size));
    return ReadEntryValues(entry, entry.values.data());
}

bool CTiffReader::ReadEntryValues(const TiffEntry &entry, unsigned char *dest) {
    if (dest == nullptr)
        return Fail(__LINE__, kTiffNoNameOrBuffer);
    if (!source_)
        return Fail(__LINE__, kTiffNotOpen);
    if (entry.IsInline())
        return true;
    const uint64_t offset = entry.Offset();
    if (offset < 8 || offset >= uiFileLength)
        return Fail(__LINE__, kTiffBadFormat);
    const uint64_t size = entry.DataSize();
    if (size > uiFileLength - offset)
        return Fail(__LINE__, kTiffReadFailed);
    if (!ReadBytes(offset, dest, static_cast<size_t>(size), kSourceFile, __LINE__))
        return false;
    const uint32_t typeSize = TiffTypeSize(entry.type);
    if (!bBigEndian || typeSize < 2)
        return true;
    // RATIONAL is swapped as two 4-byte halves; SRATIONAL as whole 8-byte elements.
    if (entry.type == kTypeRational)
        shr::ByteSwapArray(dest, 4, static_cast<size_t>(entry.count * 2));
    else
        shr::ByteSwapArray(dest, typeSize, static_cast<size_t>(entry.count));
    return true;
}

bool CTiffReader::ReadBytes(uint64_t offset, void *dest, size_t size, const wchar_t *sourceFile,
                            int line) {
    if (!source_) {
        error_.Set(sourceFile, line, kTiffNotOpen);
        return false;
    }
    if (dest == nullptr && size != 0) {
        error_.Set(sourceFile, line, kTiffNoNameOrBuffer);
        return false;
    }
    if (!source_->Seek(offset) || source_->Read(dest, size) != size) {
        error_.Set(sourceFile, line, kTiffReadFailed);
        return false;
    }
    return true;
}

} // namespace tiff
