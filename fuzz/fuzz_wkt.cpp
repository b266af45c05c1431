// libFuzzer target: WKT 1 text into a GCSDef. Any input must give true or false with a
// message, never a crash, a hang or unbounded memory.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "gcs/GcsFile.h"
#include "gcs/WktNode.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const std::string_view text(reinterpret_cast<const char *>(data), size);
    gcsfile::WktNode root;
    std::wstring message;
    if (!gcsfile::ParseWkt(text, root, message) && message.empty())
        __builtin_trap(); // a failure must say why
    gcs::GCSDef def;
    if (!gcsfile::ConvertWktToGCSDef(text, def, &message) && message.empty())
        __builtin_trap();
    return 0;
}
