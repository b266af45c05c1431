// The last failure of a component: source file, line and status code, kept instead of thrown.
#pragma once
#include <cstdint>
#include <string>

namespace shr {

struct ErrorRecord {
    std::wstring file; // source file of the failure, such as Subsystems/TiffImage/TiffRead
    int32_t line = 0;
    int32_t code = 0; // 0 = no failure

    void Set(const wchar_t* sourceFile, int32_t sourceLine, int32_t status) {
        file = sourceFile;
        line = sourceLine;
        code = status;
    }
    void Clear() { *this = ErrorRecord{}; }
    bool IsSet() const { return code != 0; }
    // "Subsystems/TiffImage/TiffRead line 120: status -5"
    std::wstring Describe() const;
};

} // namespace shr
