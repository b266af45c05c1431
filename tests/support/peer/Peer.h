// The peer harness of every component: run the peer tools, make fixtures with GDAL, compare
// rasters in one layout, read what GDAL and libtiff see in a file. PROJ is in PeerProj.h.
#pragma once
#include "support/TiffWriter.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace peer {

// A shell command's exit status (-1 when it did not exit), stdout and stderr.
struct CommandResult {
    int status = -1;
    std::string out, err;
};
CommandResult Run(const std::string &command);
std::string RunCommand(const std::string &command); // stdout only
int RunQuiet(const std::string &command);           // exit status only (0 on success)
std::string ReadFile(const std::string &path);
std::string ShellQuote(const std::string &text);
using testsupport::ScratchPath;
using testsupport::Wide;

// GDAL-made fixtures. An ENVI source (band-sequential raw plus header) with a textured pattern;
// `type` is "Byte", "UInt16", "Int16", "UInt32", "Float32" or "Float64". With `hole`, about one
// pixel in 16 (the same in every band) holds that value. Returns the raw file's path.
std::string MakeEnviSource(const std::string &name, uint32_t width, uint32_t height, int bands,
                           const std::string &type, std::optional<double> hole = {});
// gdal_translate `source` into a GeoTIFF with `options` (such as "-co TILED=YES") and
// `placement` (-a_srs, -a_ullr, -gcp; by default UTM 11 north, 30 by 20 km), then gdaladdo with
// `overviews` (such as "2 4 8") when not empty. Returns the path, "" on failure.
std::string MakeGeoTiff(
    const std::string &name, const std::string &source, const std::string &options,
    const std::string &overviews = "",
    const std::string &placement = "-a_srs EPSG:32611 -a_ullr 500000 4100000 530000 4080000");
// The TIFFs (.tif, .tiff) in the test data's `folder` ("tiff", "geotiff"), sorted.
std::vector<std::string> TestTiffs(const std::string &folder);
// libgeotiff's test files and GeoTIFFs GDAL writes over them in many coordinate systems (and one
// with ground control points); written on the first call.
const std::vector<std::string> &GeoTiffFixtures();
std::string FileName(const std::string &path);

// The loader's output layout: rows of RowBytes(), samples interleaved, machine byte order,
// bit-packed samples most significant bit first, pad bits zero.
struct Raster {
    uint32_t width = 0, height = 0;
    uint16_t spp = 1, bps = 8;
    std::vector<unsigned char> bytes;
    std::string error; // why a read failed; empty when it worked

    uint64_t RowBytes() const { return (uint64_t{width} * spp * bps + 7) / 8; }
    void Allocate(uint32_t w, uint32_t h) {
        width = w;
        height = h;
        bytes.assign(static_cast<size_t>(RowBytes() * h), 0);
    }
    // Bit position of sample s of pixel (x, y).
    uint64_t SampleBit(uint32_t x, uint32_t y, uint32_t s) const {
        return uint64_t{y} * RowBytes() * 8 + (uint64_t{x} * spp + s) * bps;
    }
};

// Copies one sample of `bits` bits (whole bytes when a multiple of 8 and aligned).
void CopySample(const unsigned char *src, uint64_t srcBit, unsigned char *dst, uint64_t dstBit,
                unsigned bits);
// Largest absolute difference between bytes of two rasters; -1 when shapes differ.
int MaxDifference(const Raster &a, const Raster &b);

// gdal_translate `args` (source window, size, bands, overview, output type...) of `path` to
// pixel-interleaved samples of GDAL's output type.
Raster GdalRead(const std::string &path, const std::string &args);

struct BandRange {
    double lo, hi;
};
// Per band: the STATISTICS_MINIMUM and _MAXIMUM of the band's metadata, else the extent GDAL
// computes (nodata and NaN left out) in overview `overview`, or the full image when negative.
std::vector<BandRange> GdalRanges(const std::string &path, int overview = -1);
// gdal_translate arguments stretching each band's range onto 0..255 bytes.
std::string StretchArgs(const std::vector<BandRange> &ranges);

// What gdalinfo -json -wkt_format WKT1 says about a file's georeferencing.
struct GdalInfo {
    bool hasGeoTransform = false;
    double geoTransform[6] = {};
    struct Gcp {
        double pixel, line, x, y;
    };
    std::vector<Gcp> gcps;
    std::string wkt;    // WKT 1 on one line, empty when the file has no coordinate system
    int rasterType = 1; // 2 when AREA_OR_POINT is Point
};
bool ReadGdalInfo(const std::string &path, GdalInfo &info, std::string &error);

// A WKT 1 node: keyword, plain values (quotes removed) and child nodes.
struct WktNode {
    std::string keyword;
    std::vector<std::string> values;
    std::vector<WktNode> children;

    const WktNode *Child(const std::string &keyword) const;
    double Number(size_t index) const;
    std::map<std::string, double> Parameters() const; // PARAMETER children by name
    int EpsgCode() const;                             // of the AUTHORITY child, 0 when absent
};
bool ParseWkt(const std::string &text, WktNode &root);

// What libtiff reports about one directory.
struct LibtiffLayout {
    uint32_t width = 0, height = 0;
    uint16_t bps = 0, spp = 0, compression = 0, planar = 0, photometric = 0;
    uint16_t extraSample = 0; // the kind of a single extra sample; 0 without one
    bool tiled = false;
    uint32_t chunkWidth = 0, chunkHeight = 0; // chunkHeight: tile length or rows per strip
    std::vector<uint64_t> offsets, byteCounts;
};
bool LibtiffDescribe(const std::string &path, unsigned dir, LibtiffLayout &layout);
// Decodes directory `dir` with libtiff into the layout above; false with libtiff's message.
bool LibtiffRead(const std::string &path, unsigned dir, Raster &out, std::string &error);
unsigned LibtiffDirectoryCount(const std::string &path);
// The tags libtiff names, with their names, as it reads the file at `path` (a codec's tags only
// where the file uses that codec).
std::map<uint32_t, std::string> LibtiffTagNames(const std::string &path);

// One image for libtiff to write.
struct WriteLayout {
    uint16_t compression = 1, predictor = 1, planar = 1, sampleFormat = 1;
    bool tiled = false;
    uint32_t chunkWidth = 0, chunkHeight = 0; // tile width (tiles only); tile length or rows
    bool reduced = false;                     // an overview
    uint16_t subIfds = 0; // how many of the images after this one are its SubIFDs
};
// Writes each raster as one directory with libtiff opened with `mode` ("w", "wl", "wb", "w8l",
// "w8b"), in the layout of the same index or else the first; false with libtiff's last message.
bool LibtiffWrite(const std::string &path, const char *mode,
                  const std::vector<WriteLayout> &layouts, const std::vector<Raster> &images,
                  std::string &error);

} // namespace peer
