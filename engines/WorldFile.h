// World files: six numbers beside an image mapping its pixel centres to map coordinates, for
// images that carry no georeferencing of their own.
#pragma once
#include "lti/LTIGeoCoord.h"

#include <string>
#include <vector>

namespace engines {

// The names a world file of `imagePath` may have, in the order they are tried: the
// extension's first and last letters and "w" (".j2w" beside ".jp2"), the extension and "w"
// (".jp2w"), then ".wld"; each in lower case, then upper case.
std::vector<std::wstring> WorldFileCandidates(const std::wstring &imagePath);

// Parses a world file's text: x step per column, y step per column, x step per row, y step per
// row, then the map position of the upper-left pixel's centre. False unless it holds six
// finite numbers (nothing else) describing an invertible map.
bool ParseWorldFile(const std::string &text, LizardTech::LTIGeoCoord &geo);

// The first candidate that exists and parses; false when none does.
bool ReadWorldFile(const std::wstring &imagePath, LizardTech::LTIGeoCoord &geo);

} // namespace engines
