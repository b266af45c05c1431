// Our side of the TIFF peer comparisons: whole images and windows through the loader.
#pragma once
#include "Subsystems/TiffImage/TiffRead.h"
#include "shr/ErrorRecord.h"
#include "support/peer/Peer.h"

#include <string>

namespace peer {

// Decodes the whole image with our reader and loader; false with the reader's error record.
bool OurRead(const std::string &path, unsigned dir, Raster &out, shr::ErrorRecord &error);

// Compares our windows (as whole and row by row) with crops of `expected`; returns a
// description of the first difference, or empty.
std::string CompareWindows(const std::string &path, unsigned dir, const Raster &expected);

// Compares our strip or tile offsets and byte counts with libtiff's; returns the first
// difference, or empty. Tables the file leaves out (libtiff estimates them) are not compared.
std::string CompareChunkTables(const LibtiffLayout &lt, const tiff::TiffDirectory &dir);

} // namespace peer
