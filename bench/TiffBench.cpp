// Decoding speed of the TIFF library's strip decoder against libtiff on large generated images:
// both decode every strip of the same file in the same run; the best of N runs is compared.
#include "LibtiffSide.h"
#include "Subsystems/TiffImage/TiffImageLoad.h"
#include "Subsystems/TiffImage/TiffRead.h"
#include "Subsystems/TiffImage/TiffSource.h"
#include "shr/Strings.h"

#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <time.h>

namespace {

struct Case {
    const char *name;
    bench::ImageLayout layout;
};

// Aerial-like content: smooth terrain, flat water, straight roads and some sensor noise.
std::vector<uint8_t> MakeImage(const bench::ImageLayout &s) {
    std::vector<double> rowWave(s.height), colWave(s.width);
    for (uint32_t y = 0; y < s.height; ++y)
        rowWave[y] = 60 + 40 * std::sin(y / 97.0) + 15 * std::sin(y / 13.0);
    for (uint32_t x = 0; x < s.width; ++x)
        colWave[x] = 50 + 35 * std::sin(x / 151.0) + 10 * std::cos(x / 7.0);
    const size_t bytes = s.bitsPerSample / 8;
    std::vector<uint8_t> pixels(size_t{s.width} * s.height * s.samples * bytes);
    uint32_t noise = 2463534242u;
    size_t at = 0;
    for (uint32_t y = 0; y < s.height; ++y) {
        for (uint32_t x = 0; x < s.width; ++x) {
            const bool water = (x / 400 + y / 300) % 5 == 0;
            const bool road = x % 613 < 6 || y % 577 < 5;
            for (uint32_t c = 0; c < s.samples; ++c) {
                noise ^= noise << 13, noise ^= noise >> 17, noise ^= noise << 5;
                double v =
                    water ? 40 + c * 9 : rowWave[y] + colWave[x] + c * 12 + (noise & s.noiseMask);
                if (road)
                    v = 200 + c;
                const uint32_t value =
                    bytes == 1 ? static_cast<uint32_t>(v)
                               : static_cast<uint32_t>(v * 250 + ((noise >> 24) & s.noiseMask));
                std::memcpy(&pixels[at], &value, bytes); // little-endian host
                at += bytes;
            }
        }
    }
    return pixels;
}

// CPU time of this thread: other processes on a busy machine do not count against a decoder.
double ThreadSeconds() {
    timespec ts{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &ts);
    return static_cast<double>(ts.tv_sec) + static_cast<double>(ts.tv_nsec) * 1e-9;
}

// Best times of `decoders`, run in turn `runs` times so that both see the same machine load.
// A decoder's place in the round moves its time by a percent or two, so each round starts with
// the next decoder and every decoder takes every place in turn.
std::vector<double> BestSeconds(int runs, const std::vector<std::function<bool()>> &decoders) {
    std::vector<double> best(decoders.size(), 1e30);
    for (int i = 0; i < runs; ++i) {
        for (size_t k = 0; k < decoders.size(); ++k) {
            const size_t d = (k + static_cast<size_t>(i)) % decoders.size();
            const double start = ThreadSeconds();
            if (!decoders[d]())
                return {};
            best[d] = std::min(best[d], ThreadSeconds() - start);
        }
    }
    return best;
}

// Our library: open the file through its own file source (mapped where the system allows, as
// libtiff maps it) or forced onto the C stream source, and load the first image whole.
bool DecodeOurs(const std::string &path, bool stream, std::vector<uint8_t> &image,
                std::string &message) {
    tiff::CTiffReader reader;
    const std::wstring name = shr::AtoW(path);
    const bool opened =
        stream ? reader.Open(tiff::OpenStreamFileSource(name), name) : reader.Open(name);
    if (!opened || reader.Directories().empty()) {
        message = "cannot open " + path + ": " + shr::WtoA(reader.Error().Describe());
        return false;
    }
    tiff::TiffImageLoader loader(reader);
    if (!loader.Open(0) || loader.Info().ImageBytes() > image.size() ||
        !loader.ReadImage(image.data())) {
        message = "cannot decode " + path + ": " + shr::WtoA(reader.Error().Describe());
        return false;
    }
    return true;
}

bool Prepare(const std::string &path, const bench::ImageLayout &layout, std::string &message) {
    if (std::filesystem::exists(path))
        return true;
    std::printf("  writing %s\n", path.c_str());
    std::fflush(stdout);
    return bench::WriteWithLibtiff(path, layout, MakeImage(layout), message);
}

bool RunCase(const Case &c, const std::string &dir, int runs) {
    const std::string path = dir + "/" + c.name + ".tif";
    std::string message;
    if (!Prepare(path, c.layout, message)) {
        std::fprintf(stderr, "%s\n", message.c_str());
        return false;
    }
    const size_t size =
        size_t{c.layout.width} * c.layout.height * c.layout.samples * c.layout.bitsPerSample / 8;
    std::vector<uint8_t> ours(size), theirs(size);
    const bool deflate = c.layout.compression == 8;
    std::vector<std::function<bool()>> decoders = {
        [&] { return DecodeOurs(path, false, ours, message); },
        [&] { return bench::DecodeWithLibtiff(path, theirs, false, message); },
        [&] { return DecodeOurs(path, true, ours, message); }};
    if (deflate)
        decoders.push_back([&] { return bench::DecodeWithLibtiff(path, theirs, true, message); });
    const std::vector<double> t = BestSeconds(runs, decoders);
    if (t.empty()) {
        std::fprintf(stderr, "%s: %s\n", c.name, message.c_str());
        return false;
    }
    if (ours != theirs) {
        std::fprintf(stderr, "%s: decoded pixels differ from libtiff's\n", c.name);
        return false;
    }
    const double mib = static_cast<double>(size) / (1024.0 * 1024.0);
    std::printf("%-19s %5.1f MiB  ours %6.1f ms  libtiff %6.1f ms  ratio %.2f  (stdio source %.2f",
                c.name, mib, t[0] * 1e3, t[1] * 1e3, t[0] / t[1], t[2] / t[1]);
    if (deflate)
        std::printf("; libtiff on zlib %6.1f ms, ratio %.2f", t[3] * 1e3, t[0] / t[3]);
    std::printf(")");
    std::printf("\n");
    std::fflush(stdout);
    return true;
}

} // namespace

int main(int argc, char **argv) {
    const std::string dir = argc > 1 ? argv[1] : "bench-data";
    const int runs = argc > 2 ? std::max(1, std::atoi(argv[2])) : 5;
    const char *only = argc > 3 ? argv[3] : nullptr;
    std::filesystem::create_directories(dir);
    // 4800 x 4800 RGB is 65.9 MiB; 6000 x 6000 16-bit gray is 68.7 MiB.
    const bench::ImageLayout rgb{4800, 4800, 3, 8, 1, 1, 0};
    const bench::ImageLayout gray16{6000, 6000, 1, 16, 1, 1, 0};
    const auto with = [](bench::ImageLayout s, uint16_t compression, uint16_t predictor) {
        s.compression = compression;
        s.predictor = predictor;
        return s;
    };
    bench::ImageLayout smooth = with(rgb, 5, 1);
    smooth.noiseMask = 0;
    bench::ImageLayout bigEndian = with(gray16, 5, 2);
    bigEndian.bigEndian = true;
    const Case cases[] = {
        {"lzw-rgb8", with(rgb, 5, 1)},           {"lzw-smooth-rgb8", smooth},
        {"lzw-pred2-rgb8", with(rgb, 5, 2)},     {"lzw-pred2-gray16", with(gray16, 5, 2)},
        {"lzw-pred2-gray16-mm", bigEndian},      {"deflate-rgb8", with(rgb, 8, 1)},
        {"deflate-pred2-rgb8", with(rgb, 8, 2)}, {"packbits-rgb8", with(rgb, 32773, 1)},
    };
    std::printf(
        "best of %d runs, thread CPU time; ratio = ours / libtiff (below 1 is faster);\n"
        "ours opens the file as the library does (mapped, as libtiff does), or through the stdio\n"
        "file source\n",
        runs);
    bool ok = true;
    for (const Case &c : cases) {
        if (!only || std::strstr(c.name, only))
            ok = RunCase(c, dir, runs) && ok;
    }
    return ok ? 0 : 1;
}
