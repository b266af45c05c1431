// Scratch files for the reader tests, written under the test's build directory.
#pragma once
#include <fstream>
#include <string>

namespace sidtest {

inline std::string ScratchPath(const std::string &name) {
    return std::string(IOSID_BUILD_DIR) + "/" + name;
}

inline std::wstring Wide(const std::string &s) { return std::wstring(s.begin(), s.end()); }

// Writes `bytes` to a scratch file and returns its path.
inline std::string WriteScratch(const std::string &name, const std::string &bytes) {
    const std::string path = ScratchPath(name);
    std::ofstream(path, std::ios::binary) << bytes;
    return path;
}

} // namespace sidtest
