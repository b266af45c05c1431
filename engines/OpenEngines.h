// Registration of the open decode engines with the reader's engine registry.
#pragma once

namespace engines {

// Registers every open engine for the signatures it reads (TIFF and BigTIFF: the GeoTIFF
// engine; JPEG 2000 in the native build: the OpenJPEG engine). Whoever builds readers calls it once before opening files: a host's main, the
// plug-in's library entry, a test program. Calling it again is harmless.
void RegisterOpenEngines();

} // namespace engines
