// iosid tiff-dump and tiff-decode: list a TIFF file's directories, decode one of its images.
#include "Command.h"

#include "Subsystems/TiffImage/TiffImageLoad.h"
#include "Subsystems/TiffImage/TiffRead.h"
#include "Subsystems/TiffImage/TiffUtil.h"
#include "shr/Path.h"
#include "shr/Strings.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

namespace iosid {
namespace {

constexpr uint64_t kValuesShown = 16;
// tiff-decode writes its output in batches of about this many bytes: small enough to be still in
// the processor's cache when the kernel copies them out.
constexpr uint64_t kBatchBytes = uint64_t{256} << 10;

const char *TypeName(uint16_t type) {
    static const char *const names[] = {"?",         "BYTE",  "ASCII",     "SHORT",  "LONG",
                                        "RATIONAL",  "SBYTE", "UNDEFINED", "SSHORT", "SLONG",
                                        "SRATIONAL", "FLOAT", "DOUBLE",    "IFD",    "?",
                                        "?",         "LONG8", "SLONG8",    "IFD8"};
    return type < std::size(names) ? names[type] : "?";
}

// Shortest text that reads back as the same number; "null" in JSON for non-finite values.
std::string NumberText(const tiff::TiffEntry &e, uint64_t i, bool json) {
    char buf[64];
    std::to_chars_result r{};
    switch (e.type) {
    case tiff::kTypeFloat:
    case tiff::kTypeDouble:
    case tiff::kTypeRational:
    case tiff::kTypeSRational: {
        const double d = e.GetDouble(i);
        if (!std::isfinite(d))
            return json ? "null" : std::to_string(d);
        r = e.type == tiff::kTypeFloat ? std::to_chars(buf, buf + sizeof buf, static_cast<float>(d))
                                       : std::to_chars(buf, buf + sizeof buf, d);
        break;
    }
    case tiff::kTypeSByte:
    case tiff::kTypeSShort:
    case tiff::kTypeSLong:
    case tiff::kTypeSLong8:
        r = std::to_chars(buf, buf + sizeof buf, e.GetInt(i));
        break;
    default:
        r = std::to_chars(buf, buf + sizeof buf, e.GetUInt(i));
    }
    return std::string(buf, r.ptr);
}

bool IsKnownType(uint16_t type) { return tiff::TiffTypeSize(type) != 0; }

std::string ValuesText(const tiff::TiffEntry &e, bool json) {
    if (e.type == tiff::kTypeAscii)
        return "\"" + JsonEscape(e.GetAscii()) + "\"";
    std::string text = json ? "[" : "";
    const uint64_t shown = IsKnownType(e.type) ? std::min(e.count, kValuesShown) : 0;
    for (uint64_t i = 0; i < shown; ++i) {
        if (i != 0)
            text += json ? "," : " ";
        text += NumberText(e, i, json);
    }
    if (!json && shown < e.count)
        text += " ...";
    return json ? text + "]" : text;
}

std::string TagName(uint16_t tag) { return shr::WtoA(tiff::TiffTagName(tag)); }

void DumpText(const tiff::CTiffReader &reader, const std::string &file) {
    std::printf("%s: %s, %s, %llu bytes, %zu directories\n", file.c_str(),
                reader.IsBigTiff() ? "BigTIFF" : "classic TIFF",
                reader.IsBigEndian() ? "big-endian (MM)" : "little-endian (II)",
                static_cast<unsigned long long>(reader.FileLength()), reader.Directories().size());
    for (size_t d = 0; d < reader.Directories().size(); ++d) {
        const auto &dir = reader.Directories()[d];
        std::printf("directory %zu at offset %llu, %zu entries\n", d,
                    static_cast<unsigned long long>(dir.offset), dir.entries.size());
        for (const auto &e : dir.entries) {
            std::printf("  %5u %-28s %-9s (%u) count %llu: %s\n", e.tag, TagName(e.tag).c_str(),
                        TypeName(e.type), e.type, static_cast<unsigned long long>(e.count),
                        ValuesText(e, false).c_str());
        }
    }
}

void DumpJson(const tiff::CTiffReader &reader, const std::string &file) {
    std::printf("{\"file\":\"%s\",\"bigTiff\":%s,\"bigEndian\":%s,\"length\":%llu,"
                "\"directories\":[",
                JsonEscape(file).c_str(), reader.IsBigTiff() ? "true" : "false",
                reader.IsBigEndian() ? "true" : "false",
                static_cast<unsigned long long>(reader.FileLength()));
    for (size_t d = 0; d < reader.Directories().size(); ++d) {
        const auto &dir = reader.Directories()[d];
        std::printf("%s{\"offset\":%llu,\"entries\":[", d ? "," : "",
                    static_cast<unsigned long long>(dir.offset));
        for (size_t i = 0; i < dir.entries.size(); ++i) {
            const auto &e = dir.entries[i];
            std::printf("%s{\"tag\":%u,\"name\":\"%s\",\"type\":%u,\"typeName\":\"%s\","
                        "\"count\":%llu,\"values\":%s}",
                        i ? "," : "", e.tag, TagName(e.tag).c_str(), e.type, TypeName(e.type),
                        static_cast<unsigned long long>(e.count), ValuesText(e, true).c_str());
        }
        std::printf("]}");
    }
    std::printf("]}\n");
}

int ReportFailure(const std::string &file, const shr::ErrorRecord &error) {
    std::fprintf(stderr, "iosid: %s: %s\n", file.c_str(), shr::WtoA(error.Describe()).c_str());
    return kExitFailure;
}

struct DumpRequest {
    std::string file;
    bool json = false;
};

int RunDump(const DumpRequest &request) {
    tiff::CTiffReader reader;
    if (!reader.Open(shr::AtoW(request.file)))
        return ReportFailure(request.file, reader.Error());
    if (request.json)
        DumpJson(reader, request.file);
    else
        DumpText(reader, request.file);
    return 0;
}

// Writes the image in batches of whole strip or tile rows; false with the reader's error set,
// or with `writeFailed` set when the output could not be written.
bool WriteImage(tiff::TiffImageLoader &loader, FILE *out, bool &writeFailed) {
    const tiff::TiffImageInfo &info = loader.Info();
    const uint64_t rowBytes = info.RowBytes(info.width);
    const uint64_t bandBytes = rowBytes * info.chunkHeight;
    const uint64_t bands = std::max<uint64_t>(1, kBatchBytes / std::max<uint64_t>(bandBytes, 1));
    const uint32_t batchRows =
        static_cast<uint32_t>(std::min<uint64_t>(bands * info.chunkHeight, info.height));
    std::vector<unsigned char> buffer(static_cast<size_t>(rowBytes * batchRows));
    for (uint32_t y = 0; y < info.height; y += batchRows) {
        const uint32_t rows = std::min(batchRows, info.height - y);
        if (!loader.ReadWindow(0, y, info.width, rows, buffer.data()))
            return false;
        const size_t bytes = static_cast<size_t>(rowBytes * rows);
        if (std::fwrite(buffer.data(), 1, bytes, out) != bytes) {
            writeFailed = true;
            return false;
        }
    }
    return true;
}

void PrintImageInfo(const tiff::TiffImageInfo &info, const std::string &file, unsigned image,
                    const std::string &output, bool json) {
    if (json) {
        std::printf("{\"file\":\"%s\",\"image\":%u,\"width\":%u,\"height\":%u,"
                    "\"samplesPerPixel\":%u,\"bitsPerSample\":%u,\"sampleFormat\":%u,"
                    "\"photometric\":%u,\"compression\":%u,\"planar\":%s,\"tiled\":%s,"
                    "\"output\":\"%s\",\"bytes\":%llu}\n",
                    JsonEscape(file).c_str(), image, info.width, info.height, info.samplesPerPixel,
                    info.bitsPerSample, info.sampleFormat, info.photometric, info.compression,
                    info.IsPlanar() ? "true" : "false", info.tiled ? "true" : "false",
                    JsonEscape(output).c_str(), static_cast<unsigned long long>(info.ImageBytes()));
        return;
    }
    std::printf("width: %u\nheight: %u\nsamples per pixel: %u\nbits per sample: %u\n"
                "sample format: %u\noutput: %s (%llu bytes)\n",
                info.width, info.height, info.samplesPerPixel, info.bitsPerSample,
                info.sampleFormat, output.c_str(),
                static_cast<unsigned long long>(info.ImageBytes()));
}

struct DecodeRequest {
    std::string file;
    std::string output;
    unsigned image = 0;
    bool json = false;
};

int RunDecode(const DecodeRequest &request) {
    const std::vector<std::string> files = {request.file};
    const std::string &output = request.output;
    const unsigned image = request.image;
    tiff::CTiffReader reader;
    if (!reader.Open(shr::AtoW(files[0])))
        return ReportFailure(files[0], reader.Error());
    tiff::TiffImageLoader loader(reader);
    if (!loader.Open(image))
        return ReportFailure(files[0], reader.Error());
    FILE *out = shr::OpenFile(shr::AtoW(output), L"wb");
    if (out == nullptr) {
        std::fprintf(stderr, "iosid: %s: cannot open for writing\n", output.c_str());
        return kExitFailure;
    }
    bool writeFailed = false;
    const bool ok = WriteImage(loader, out, writeFailed);
    if (std::fclose(out) != 0)
        writeFailed = true;
    if (writeFailed) {
        std::fprintf(stderr, "iosid: %s: write failed\n", output.c_str());
        return kExitFailure;
    }
    if (!ok) {
        std::remove(output.c_str());
        return ReportFailure(files[0], reader.Error());
    }
    PrintImageInfo(loader.Info(), files[0], image, output, request.json);
    return 0;
}

std::function<int()> DefineDump(CLI::App &app) {
    auto request = std::make_shared<DumpRequest>();
    app.add_option("FILE", request->file, "TIFF file")->required();
    app.add_flag("--json", request->json, "print JSON");
    return [request] { return RunDump(*request); };
}

std::function<int()> DefineDecode(CLI::App &app) {
    auto request = std::make_shared<DecodeRequest>();
    app.add_option("FILE", request->file, "TIFF file")->required();
    app.add_option("-o", request->output, "raw output file")->required();
    app.add_option("--image", request->image, "image in the file, from 0");
    app.add_flag("--json", request->json, "print JSON");
    return [request] { return RunDecode(*request); };
}

const RegisterCommand kDump({"tiff-dump", "directories and tags of a TIFF file", DefineDump});
const RegisterCommand kDecode({"tiff-decode", "decode one image of a TIFF file to raw samples",
                               DefineDecode});

} // namespace
} // namespace iosid
