// iosid read: decodes a region of an image at a reduction through SidInterface and writes it
// as PNG or as raw rows in the reader's output format.
#include "Command.h"

#include "SidInterface.h"
#include "shr/Strings.h"

#include "gcs/GCSDef.h"
#include "gcs/ProjectionDef.h"
#include "gcs/WarpDef.h"
#ifdef IOSID_HAVE_PNG
#include <png.h>
#endif

#include <cctype>
#include <chrono>
#include <cstdio>
#include <memory>
#include <sstream>
#include <string>
#include <vector>
#ifdef _WIN32
#include <io.h>
#define isatty _isatty
#define fileno _fileno
#else
#include <unistd.h>
#endif

namespace iosid {
namespace {

struct ReadRequest {
    std::string input;
    std::string output;
    uint32_t scale = 1;
    bool hasRegion = false;
    uint32_t region[4] = {0, 0, 0, 0};
    int32_t format = SidInterface::kColor24;
    bool json = false;
};

bool ParseRegion(const std::string &text, uint32_t (&region)[4]) {
    std::stringstream in(text);
    std::string part;
    int i = 0;
    while (std::getline(in, part, ',')) {
        if (i == 4 || part.empty() || part.size() > 10 ||
            part.find_first_not_of("0123456789") != std::string::npos ||
            std::stoull(part) > 0xFFFFFFFFull)
            return false;
        region[i++] = static_cast<uint32_t>(std::stoull(part));
    }
    return i == 4;
}

bool EndsWith(const std::string &text, const std::string &suffix) {
    if (text.size() < suffix.size())
        return false;
    for (size_t i = 0; i < suffix.size(); ++i)
        if (std::tolower(static_cast<unsigned char>(text[text.size() - suffix.size() + i])) !=
            suffix[i])
            return false;
    return true;
}

// Where output rows go: a PNG encoder or a raw file.
class RowSink {
public:
    virtual ~RowSink() = default;
    virtual bool Write(const uint8_t *row) = 0;
    virtual bool Finish() = 0;
};

class RawSink final : public RowSink {
public:
    RawSink(std::FILE *file, size_t rowBytes) : file_(file), rowBytes_(rowBytes) {}
    ~RawSink() override {
        if (file_)
            std::fclose(file_);
    }
    bool Write(const uint8_t *row) override {
        return std::fwrite(row, 1, rowBytes_, file_) == rowBytes_;
    }
    bool Finish() override {
        const bool ok = std::fclose(file_) == 0;
        file_ = nullptr;
        return ok;
    }

private:
    std::FILE *file_;
    size_t rowBytes_;
};

#ifdef IOSID_HAVE_PNG
// PNG rows: colour in red, green, blue (and alpha) order, grey at 1, 4 or 8 bits.
class PngSink final : public RowSink {
public:
    PngSink(std::FILE *file, uint32_t width, uint32_t height, int32_t format) : file_(file) {
        png_ = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
        info_ = png_ ? png_create_info_struct(png_) : nullptr;
        if (!info_ || setjmp(png_jmpbuf(png_))) {
            failed_ = true;
            return;
        }
        png_init_io(png_, file_);
        int depth = 8, type = PNG_COLOR_TYPE_GRAY;
        if (format == SidInterface::kBlackWhite)
            depth = 1;
        else if (format == SidInterface::kGray16)
            depth = 4;
        else if (format == SidInterface::kColor24)
            type = PNG_COLOR_TYPE_RGB;
        else if (format == SidInterface::kColor32)
            type = PNG_COLOR_TYPE_RGB_ALPHA;
        png_set_IHDR(png_, info_, width, height, depth, type, PNG_INTERLACE_NONE,
                     PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
        png_set_compression_level(png_, 3);
        png_write_info(png_, info_);
        if (type != PNG_COLOR_TYPE_GRAY)
            png_set_bgr(png_); // the reader delivers blue first
    }
    ~PngSink() override {
        if (png_)
            png_destroy_write_struct(&png_, &info_);
        if (file_)
            std::fclose(file_);
    }
    bool Write(const uint8_t *row) override {
        if (failed_ || setjmp(png_jmpbuf(png_)))
            return failed_ = true, false;
        png_write_row(png_, row);
        return true;
    }
    bool Finish() override {
        if (failed_ || setjmp(png_jmpbuf(png_)))
            return false;
        png_write_end(png_, nullptr);
        const bool ok = std::fclose(file_) == 0;
        file_ = nullptr;
        return ok;
    }

private:
    std::FILE *file_;
    png_structp png_ = nullptr;
    png_infop info_ = nullptr;
    bool failed_ = false;
};
#endif

std::unique_ptr<RowSink> OpenSink(const ReadRequest &request, const SidInterface &reader,
                                  size_t rowBytes, std::string &error) {
    const bool png = EndsWith(request.output, ".png");
#ifndef IOSID_HAVE_PNG
    if (png)
        return error = "this build writes raw output only (no PNG library)", nullptr;
#endif
    std::FILE *file = std::fopen(request.output.c_str(), "wb");
    if (!file)
        return error = "cannot create " + request.output, nullptr;
#ifdef IOSID_HAVE_PNG
    if (png)
        return std::make_unique<PngSink>(file, reader.GetWidth(), reader.GetHeight(),
                                         reader.GetFormat());
#else
    (void)reader;
#endif
    return std::make_unique<RawSink>(file, rowBytes);
}

struct Progress {
    bool enabled = false;
    std::chrono::steady_clock::time_point last;
    void Update(uint32_t done, uint32_t total) {
        if (!enabled)
            return;
        const auto now = std::chrono::steady_clock::now();
        if (done != total && now - last < std::chrono::milliseconds(200))
            return;
        last = now;
        std::fprintf(stderr, "\rreading rows: %3u%%", total ? done * 100u / total : 100u);
        if (done == total)
            std::fprintf(stderr, "\n");
    }
};

bool ReadAllRows(SidInterface &reader, RowSink &sink, std::string &error) {
    const size_t bufferBytes = size_t{reader.GetWidth()} * 4 + 1;
    std::vector<uint8_t> row(bufferBytes);
    Progress progress;
    progress.enabled = isatty(fileno(stderr)) && reader.GetHeight() >= 2048;
    for (uint32_t y = 0; y < reader.GetHeight(); ++y) {
        if (!reader.ReadScanline(y, row.data()))
            return error = shr::WtoA(reader.GetErrorText()), false;
        if (!sink.Write(row.data()))
            return error = "writing the output failed", false;
        progress.Update(y + 1, reader.GetHeight());
    }
    if (!sink.Finish())
        return error = "writing the output failed", false;
    return true;
}

std::string SystemText(const gcs::GCSDef &gcsDef, bool json) {
    const gcs::ProjectionDef *projection = gcsDef.GetProjection();
    const double unit =
        projection ? projection->GetParameter(gcs::ProjectionParameterID::LinearScale) : 0.0;
    const std::string name = shr::WtoA(gcsDef.GetName());
    char text[512];
    if (json)
        std::snprintf(text, sizeof text, "\"posc\": %d, \"name\": \"%s\", \"linearScale\": %.17g",
                      gcsDef.GetPOSC(), JsonEscape(name).c_str(), unit);
    else if (gcsDef.GetPOSC() != 0 || projection)
        std::snprintf(text, sizeof text, "coordinate system: EPSG %d %s (%.10g units per metre)\n",
                      gcsDef.GetPOSC(), name.c_str(), unit);
    else
        std::snprintf(text, sizeof text, "coordinate system: none\n");
    return text;
}

std::string WarpText(SidInterface &reader, bool json) {
    gcs::GCSDef gcsDef;
    reader.Georeference(gcsDef);
    const gcs::WarpDef *warp = gcsDef.GetWarp();
    const size_t points = warp ? warp->GetSourcePointCount() : 0;
    std::string text =
        json ? "{" + SystemText(gcsDef, true) + ", \"points\": [" : SystemText(gcsDef, false);
    if (!json)
        text += points ? "warp: " + std::to_string(points) + " points (method " +
                             std::to_string(static_cast<int>(warp->GetMethod())) + ")\n"
                       : "warp: none\n";
    char line[256];
    for (size_t i = 0; i < points; ++i) {
        const shr::Vec2d s = warp->GetSourcePoint(i), d = warp->GetDestinationPoint(i);
        std::snprintf(line, sizeof line,
                      json ? "%s{\"pixel\": [%.17g, %.17g], \"map\": [%.17g, %.17g]}"
                           : "%s  pixel (%.10g, %.10g) -> map (%.10g, %.10g)\n",
                      json && i ? ", " : "", s.x, s.y, d.x, d.y);
        text += line;
    }
    return json ? text + "]}" : text;
}

void PrintSummary(const ReadRequest &request, SidInterface &reader) {
    const std::string warp = WarpText(reader, request.json);
    if (request.json) {
        std::printf(
            "{\"file\": \"%s\", \"output\": \"%s\", \"width\": %u, \"height\": %u, "
            "\"bitsPerPixel\": %d, \"scale\": %u, \"maxScale\": %u, \"georeferencing\": %s}\n",
            JsonEscape(request.input).c_str(), JsonEscape(request.output).c_str(),
            reader.GetWidth(), reader.GetHeight(), reader.GetBitsPerPixel(), reader.GetScale(),
            reader.GetMaxScale(), warp.c_str());
        return;
    }
    std::printf("output: %s, %u x %u, %d bits per pixel\n", request.output.c_str(),
                reader.GetWidth(), reader.GetHeight(), reader.GetBitsPerPixel());
    std::printf("scale: %u (maximum %u)\n", reader.GetScale(), reader.GetMaxScale());
    std::printf("%s", warp.c_str());
}

int RunRead(ReadRequest &request, const std::string &region) {
    std::string error;
    request.hasRegion = !region.empty();
    if (request.hasRegion && !ParseRegion(region, request.region)) {
        std::fprintf(stderr, "iosid read: --region takes L,T,R,B\n");
        return kExitUsage;
    }
    SidInterface reader;
    reader.SetFormat(request.format);
    if (!reader.Open(shr::AtoW(request.input))) {
        std::fprintf(stderr, "iosid read: %s\n", shr::WtoA(reader.GetErrorText()).c_str());
        return kExitFailure;
    }
    if (!reader.SetScale(request.scale)) {
        std::fprintf(stderr, "iosid read: scale %u is not offered (a power of two up to %u)\n",
                     request.scale, reader.GetMaxScale());
        return kExitUsage;
    }
    if (request.hasRegion)
        reader.SetRegion(request.region[0], request.region[1], request.region[2],
                         request.region[3]);
    if (reader.GetWidth() == 0 || reader.GetHeight() == 0) {
        std::fprintf(stderr, "iosid read: the region is smaller than one output pixel\n");
        return kExitUsage;
    }
    const size_t rowBytes = (size_t{reader.GetWidth()} * reader.GetBitsPerPixel() + 7) / 8;
    auto sink = OpenSink(request, reader, rowBytes, error);
    if (!sink || !ReadAllRows(reader, *sink, error)) {
        std::fprintf(stderr, "iosid read: %s\n", error.c_str());
        if (sink) {
            sink.reset(); // closes the file, which holds only part of the image
            std::remove(request.output.c_str());
        }
        return kExitFailure;
    }
    PrintSummary(request, reader);
    return 0;
}

std::function<int()> DefineRead(CLI::App &app) {
    auto request = std::make_shared<ReadRequest>();
    auto region = std::make_shared<std::string>();
    auto bits = std::make_shared<int>(24);
    app.add_option("FILE", request->input, "image file")->required();
    app.add_option("-o", request->output, "output: OUT.png, or raw rows")->required();
    app.add_option("--scale", request->scale, "reduction, a power of two");
    app.add_option("--region", *region, "full-resolution pixels L,T,R,B (inclusive)");
    app.add_option("--format", *bits, "bits per pixel")->check(CLI::IsMember({1, 4, 8, 24, 32}));
    app.add_flag("--json", request->json, "print the summary as JSON");
    return [request, region, bits] {
        const std::pair<int, int32_t> formats[] = {{1, SidInterface::kBlackWhite},
                                                   {4, SidInterface::kGray16},
                                                   {8, SidInterface::kGray256},
                                                   {24, SidInterface::kColor24},
                                                   {32, SidInterface::kColor32}};
        for (const auto &[b, code] : formats)
            if (b == *bits)
                request->format = code;
        return RunRead(*request, *region);
    };
}

const RegisterCommand kRead({"read",
                             "decode a region at a reduction through the reader "
                             "(OUT.png or raw rows)",
                             DefineRead});

} // namespace
} // namespace iosid
