// Our side of the TIFF peer comparisons: whole images and windows through the loader.
#pragma once
#include "Subsystems/TiffImage/TiffRead.h"
#include "shr/ErrorRecord.h"
#include "support/peer/Peer.h"

#include <string>

namespace peer {

// Decodes the whole image with our reader and loader; false with the reader's error record.
bool OurRead(const std::string &path, unsigned dir, Raster &out, shr::ErrorRecord &error);
// Our windows (whole and row by row) against crops of `expected`: the first difference or "".
std::string CompareWindows(const std::string &path, unsigned dir, const Raster &expected);
// Our strip or tile offsets and byte counts against libtiff's: the first difference or "".
// Tables the file leaves out (libtiff estimates them) are not compared.
std::string CompareChunkTables(const LibtiffLayout &lt, const tiff::TiffDirectory &dir);

} // namespace peer
