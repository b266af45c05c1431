// The settings file: bounded read, validation, atomic write and the lock around a save.
#include "SettingsFile.h"

#include "ReplacedFile.h"

#include <nlohmann/json.hpp>

#include <cerrno>
#include <cstdint>
#include <fstream>
#include <limits>
#include <sstream>
#include <stdexcept>
#include <system_error>
#ifdef _WIN32
#include <windows.h>
#else
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>
#endif

namespace iosid::host {
namespace {

// A settings file holds a handful of numbers; anything this large is not ours.
constexpr std::uintmax_t kMaxSettingsBytes = 1 << 20;

bool TakeValues(const nlohmann::json &document, std::map<std::string, unsigned> &values,
                std::string &why) {
    if (!document.is_object()) {
        why = "not a JSON object";
        return false;
    }
    for (const auto &[name, value] : document.items()) {
        if (!value.is_number_unsigned() ||
            value.get<uint64_t>() > std::numeric_limits<uint32_t>::max()) {
            why = "value of \"" + name + "\" is not an unsigned 32-bit number";
            return false;
        }
        values[name] = value.get<unsigned>();
    }
    return true;
}

} // namespace

SettingsRead ReadSettingsFile(const std::filesystem::path &path,
                              std::map<std::string, unsigned> &values, std::string &why) {
    values.clear();
    std::error_code error;
    const auto status = std::filesystem::status(path, error);
    if (status.type() == std::filesystem::file_type::not_found)
        return SettingsRead::Missing;
    if (!std::filesystem::is_regular_file(status)) {
        why = error ? error.message() : "not a regular file";
        return SettingsRead::Unusable;
    }
    const std::uintmax_t size = std::filesystem::file_size(path, error);
    if (error || size > kMaxSettingsBytes) {
        why = error ? error.message() : "larger than 1 MiB";
        return SettingsRead::Unusable;
    }
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    if (!in || !(text << in.rdbuf())) {
        // An empty file reads nothing and fails the stream: it is simply not JSON.
        if (in && size == 0) {
            why = "empty file";
        } else {
            why = "cannot read it";
        }
        return SettingsRead::Unusable;
    }
    // The parser takes a NUL byte for the end of input, which would accept a file whose tail
    // was zero-filled by a crash.
    const std::string contents = text.str();
    const nlohmann::json document = nlohmann::json::parse(contents, nullptr, false);
    if (document.is_discarded() || contents.find('\0') != std::string::npos) {
        why = "not valid JSON";
        return SettingsRead::Unusable;
    }
    if (!TakeValues(document, values, why)) {
        values.clear();
        return SettingsRead::Unusable;
    }
    return SettingsRead::Ok;
}

void WriteSettingsFile(const std::filesystem::path &path,
                       const std::map<std::string, unsigned> &values) {
    nlohmann::json document = nlohmann::json::object();
    for (const auto &[name, value] : values)
        document[name] = value;
    const std::string text = document.dump(2) + "\n";
    ReplacedFile file(path);
    file.Write(text.data(), text.size());
    file.Commit();
}

SettingsLock::SettingsLock(const std::filesystem::path &path) {
    std::filesystem::path lockPath = path;
    lockPath += ".lock";
#ifdef _WIN32
    HANDLE handle = CreateFileW(lockPath.c_str(), GENERIC_READ | GENERIC_WRITE,
                                FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_ALWAYS,
                                FILE_ATTRIBUTE_NORMAL, nullptr);
    OVERLAPPED whole{};
    if (handle == INVALID_HANDLE_VALUE)
        throw std::runtime_error(PathToUtf8(lockPath) + ": cannot open the lock file");
    if (!LockFileEx(handle, LOCKFILE_EXCLUSIVE_LOCK, 0, 1, 0, &whole)) {
        CloseHandle(handle);
        throw std::runtime_error(PathToUtf8(lockPath) + ": cannot lock");
    }
    handle_ = handle;
#else
    fd_ = open(lockPath.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
    if (fd_ < 0)
        throw std::runtime_error(PathToUtf8(lockPath) + ": cannot open the lock file: " +
                                 std::generic_category().message(errno));
    int result;
    do {
        result = flock(fd_, LOCK_EX);
    } while (result != 0 && errno == EINTR);
    if (result != 0) {
        const int error = errno;
        close(fd_);
        throw std::runtime_error(PathToUtf8(lockPath) +
                                 ": cannot lock: " + std::generic_category().message(error));
    }
#endif
}

SettingsLock::~SettingsLock() {
#ifdef _WIN32
    if (handle_) {
        OVERLAPPED whole{};
        UnlockFileEx(static_cast<HANDLE>(handle_), 0, 1, 0, &whole);
        CloseHandle(static_cast<HANDLE>(handle_));
    }
#else
    if (fd_ >= 0)
        close(fd_); // releases the lock
#endif
}

} // namespace iosid::host
