// Our side of the TIFF peer comparisons: whole images and windows through the loader.
#pragma once
#include "shr/ErrorRecord.h"
#include "support/peer/Peer.h"

#include <string>

namespace peer {

// Decodes the whole image with our reader and loader; false with the reader's error record.
bool OurRead(const std::string &path, unsigned dir, Raster &out, shr::ErrorRecord &error);

// Compares our windows (as whole and row by row) with crops of `expected`; returns a
// description of the first difference, or empty.
std::string CompareWindows(const std::string &path, unsigned dir, const Raster &expected);

} // namespace peer
