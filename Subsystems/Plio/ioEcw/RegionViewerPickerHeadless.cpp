// Builds without a window system: no mouse capture, font or surface exist, so these do
// nothing and the picker keeps only its geometry, input state and row reading.
#include "RegionViewerPicker.h"

namespace rvp {

struct RegionViewerPicker::Gdi {};

void RegionViewerPicker::CaptureMouse(WindowHandle) {}
void RegionViewerPicker::ReleaseMouse() {}
void RegionViewerPicker::CreateReadoutFont() {}
void RegionViewerPicker::RebuildSurface() {}
void RegionViewerPicker::ReleaseGdi() {}

} // namespace rvp
