// The GeoTIFF files the peer tests run on: libgeotiff's test files and files GDAL writes in
// the build tree.
#pragma once
#include <string>
#include <vector>

namespace georefpeer {

// Every fixture's path; the generated files are written on the first call.
const std::vector<std::string> &Fixtures();

// The file name of a path.
std::string Name(const std::string &path);

} // namespace georefpeer
