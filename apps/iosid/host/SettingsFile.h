// Reading, writing and locking the settings file.
#pragma once
#include <filesystem>
#include <map>
#include <string>

namespace iosid::host {

enum class SettingsRead { Ok, Missing, Unusable };

// Reads `path` into `values`. Unusable: `why` says what is wrong (unreadable, not JSON, not an
// object of unsigned 32-bit numbers) and `values` is left empty.
SettingsRead ReadSettingsFile(const std::filesystem::path &path,
                              std::map<std::string, unsigned> &values, std::string &why);

// Writes `values` beside `path` and renames the result over it. Throws std::runtime_error.
void WriteSettingsFile(const std::filesystem::path &path,
                       const std::map<std::string, unsigned> &values);

// Holds an exclusive lock on `path`.lock while it lives, so that read, merge and write of the
// settings file run one process at a time. Throws std::runtime_error when it cannot lock.
class SettingsLock {
public:
    explicit SettingsLock(const std::filesystem::path &path);
    ~SettingsLock();
    SettingsLock(const SettingsLock &) = delete;
    SettingsLock &operator=(const SettingsLock &) = delete;

private:
    void *handle_ = nullptr; // a Windows file handle
    int fd_ = -1;
};

} // namespace iosid::host
