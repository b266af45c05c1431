// The TIFF library's warnings: one line each, "TIFFWarning(<module>):  <text>", to standard
// output unless a host routes them elsewhere.
#pragma once
#include <functional>
#include <string>

namespace tiff {

// Receives each warning line (without its newline); an empty sink restores standard output.
using TiffWarningSink = std::function<void(const std::string &line)>;
void SetTiffWarningSink(TiffWarningSink sink);

// Emits "TIFFWarning(<module>):  <text>" (two blanks after the colon).
void TiffWarning(const char *module, const char *text);

} // namespace tiff
