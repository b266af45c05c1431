// GDAL peer helpers.
#include "PeerTools.h"

#include "SidIO.h"
#include "SidInterface.h"

#include "lti/MrSIDImageReader.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <unistd.h>

namespace sidpeer {

std::string MakeJpeg2000(const std::string &name, const std::string &source,
                         const std::string &args, const std::string &extension) {
    const std::string path = BuildPath(name + "." + extension);
    std::remove(path.c_str());
    std::remove((path + ".aux.xml").c_str());
    if (RunQuiet("gdal_translate -q -of JP2OpenJPEG " + args + " " + source + " " + path) != 0)
        return "";
    return path;
}

Image ReadEngine(const std::string &path, uint32_t scale, const uint32_t *region) {
    using namespace LizardTech;
    Image image;
    SidIO stream(std::wstring(path.begin(), path.end()), true);
    MrSIDImageReader *reader = MrSIDImageReader::create();
    if (const LT_STATUS status = reader->initialize(&stream, nullptr, MRSID_MEMORY_USAGE_DEFAULT,
                                                    MRSID_STREAM_USAGE_CREATE)) {
        image.error = std::string("initialize: ") + getLastStatusString(status);
        reader->release();
        return image;
    }
    const uint32_t whole[4] = {0, 0, reader->getWidth() - 1, reader->getHeight() - 1};
    const uint32_t *r = region ? region : whole;
    image.width = (r[2] - r[0] + 1) / scale;
    image.height = (r[3] - r[1] + 1) / scale;
    const LTIPixel &pixel = reader->getPixelProps();
    const uint32_t bytes = pixel.getNumBytesPerSample(), bands = pixel.getNumBands();
    image.channels = bytes * bands;
    LTISceneBuffer buffer(pixel, image.width, image.height);
    const LTIScene scene(r[0] / scale, r[1] / scale, image.width, image.height, 1.0 / scale);
    if (const LT_STATUS status = reader->read(scene, buffer)) {
        image.error = std::string("read: ") + getLastStatusString(status);
        reader->release();
        return image;
    }
    image.data.resize(size_t{image.width} * image.height * image.channels);
    for (uint32_t y = 0; y < image.height; ++y)
        for (uint32_t b = 0; b < bands; ++b) {
            const uint8_t *row = buffer.getRow(static_cast<lt_uint16>(b), y);
            for (uint32_t x = 0; x < image.width; ++x)
                std::copy_n(
                    row + size_t{x} * bytes, bytes,
                    &image.data[(size_t{y} * image.width + x) * image.channels + b * bytes]);
        }
    reader->release();
    return image;
}

namespace {

std::string Narrow(const std::wstring &text) {
    std::string out;
    for (wchar_t c : text)
        out += c < 128 ? static_cast<char>(c) : '?';
    return out;
}

} // namespace

Image ReadOurs(const std::string &path, uint32_t scale, const uint32_t *region, int format) {
    Image image;
    SidInterface reader;
    reader.SetFormat(format);
    if (!reader.Open(std::wstring(path.begin(), path.end())) || !reader.SetScale(scale)) {
        image.error = "open or scale failed: " + Narrow(reader.GetErrorText());
        return image;
    }
    if (region)
        reader.SetRegion(region[0], region[1], region[2], region[3]);
    image.width = reader.GetWidth();
    image.height = reader.GetHeight();
    image.channels = format == 5 ? 4 : format == 4 ? 3 : 1;
    std::vector<uint8_t> row(size_t{image.width} * 4);
    for (uint32_t y = 0; y < image.height; ++y) {
        if (!reader.ReadScanline(y, row.data())) {
            image.error = "row " + std::to_string(y) + " failed: " + Narrow(reader.GetErrorText());
            return image;
        }
        for (uint32_t x = 0; x < image.width; ++x) {
            const uint8_t *p = row.data() + size_t{x} * image.channels;
            if (image.channels == 1) {
                image.data.push_back(p[0]);
                continue;
            }
            image.data.insert(image.data.end(), {p[2], p[1], p[0]});
            if (image.channels == 4)
                image.data.push_back(p[3]);
        }
    }
    return image;
}

Image ReadGdal(const std::string &path, const std::string &args, uint32_t channels) {
    Image image;
    // One name per process: the sid and plug-in peer tests run side by side.
    const std::string out = BuildPath("gdal_peer_out" + std::to_string(getpid()) + ".raw");
    std::remove(out.c_str());
    if (RunQuiet("gdal_translate -q -of ENVI -co INTERLEAVE=BIP " + args + " " + path + " " +
                 out) != 0) {
        image.error = "gdal_translate failed";
        return image;
    }
    const std::string info = Capture("gdalinfo " + out);
    std::sscanf(info.c_str() + info.find("Size is"), "Size is %u, %u", &image.width, &image.height);
    image.channels = channels;
    std::ifstream in(out, std::ios::binary);
    image.data.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    return image;
}

std::vector<BandRange> GdalRanges(const std::string &path, int overview) {
    const std::string oo = overview >= 0 ? " -oo OVERVIEW_LEVEL=" + std::to_string(overview) : "";
    const auto info =
        nlohmann::json::parse(Capture("gdalinfo -json -mm" + oo + " " + path), nullptr, false);
    std::vector<BandRange> ranges;
    if (info.is_discarded())
        return ranges;
    const auto none = nlohmann::json::object();
    for (const auto &band : info["bands"]) {
        const auto &md = band.value("metadata", none).value("", none);
        if (md.contains("STATISTICS_MINIMUM") && md.contains("STATISTICS_MAXIMUM"))
            ranges.push_back({std::stod(md["STATISTICS_MINIMUM"].get<std::string>()),
                              std::stod(md["STATISTICS_MAXIMUM"].get<std::string>())});
        else
            ranges.push_back({band.value("computedMin", 0.0), band.value("computedMax", 0.0)});
    }
    return ranges;
}

std::string StretchArgs(const std::vector<BandRange> &ranges) {
    std::ostringstream args;
    args.precision(17);
    args << "-ot Byte";
    for (size_t b = 0; b < ranges.size(); ++b)
        args << " -scale_" << b + 1 << " " << ranges[b].lo << " " << ranges[b].hi << " 0 255";
    return args.str();
}

int MaxDifference(const Image &a, const Image &b) {
    if (a.width != b.width || a.height != b.height || a.data.size() != b.data.size())
        return -1;
    int worst = 0;
    for (size_t i = 0; i < a.data.size(); ++i)
        worst = std::max(worst, std::abs(int{a.data[i]} - int{b.data[i]}));
    return worst;
}

} // namespace sidpeer
