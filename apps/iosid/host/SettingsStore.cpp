// The option store over the settings file.
#include "SettingsStore.h"

#include "ReplacedFile.h"
#include "SettingsFile.h"

#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <system_error>

namespace iosid::host {
namespace {

std::string Environment(const char *name) {
    const char *value = std::getenv(name);
    return value ? std::string(value) : std::string();
}

} // namespace

std::string SettingsStore::DefaultPath() {
#ifdef _WIN32
    const std::string appData = Environment("APPDATA");
    return appData.empty() ? std::string() : appData + "\\iosid\\settings.json";
#else
    const std::string config = Environment("XDG_CONFIG_HOME");
    // The XDG rules ignore a relative value.
    if (!config.empty() && config.front() == '/')
        return config + "/iosid/settings.json";
    const std::string home = Environment("HOME");
    return home.empty() ? std::string() : home + "/.config/iosid/settings.json";
#endif
}

SettingsStore::SettingsStore(std::string path) : path_(std::move(path)) {}

std::string SettingsStore::Load() {
    stored_.clear();
    changed_.clear();
    keepFile_ = false;
    const std::filesystem::path path = PathFromUtf8(path_);
    // Read under the save lock: on Windows a file being renamed over cannot be opened, which
    // would pass for an unreadable file. A folder that takes no lock file is read unlocked.
    std::unique_ptr<SettingsLock> lock;
    std::error_code error;
    if (std::filesystem::exists(path, error)) {
        try {
            lock = std::make_unique<SettingsLock>(path);
        } catch (const std::runtime_error &) {
        }
    }
    std::string why;
    if (ReadSettingsFile(path, stored_, why) != SettingsRead::Unusable)
        return "";
    keepFile_ = true;
    return "settings file " + path_ + " ignored (" + why +
           "): using defaults, and it will not be overwritten";
}

bool SettingsStore::Get(const std::string &name, unsigned &value, bool /*persist*/) const {
    for (const auto *values : {&runOnly_, &stored_}) {
        const auto found = values->find(name);
        if (found != values->end()) {
            value = found->second;
            return true;
        }
    }
    return false;
}

void SettingsStore::Set(const std::string &name, unsigned value, bool persist) {
    if (!persist) {
        runOnly_[name] = value;
        return;
    }
    runOnly_.erase(name);
    stored_[name] = value;
    changed_[name] = value;
}

void SettingsStore::Save() {
    if (keepFile_ || changed_.empty())
        return;
    const std::filesystem::path path = PathFromUtf8(path_);
    std::error_code error;
    if (path.has_parent_path()) {
        std::filesystem::create_directories(path.parent_path(), error);
        if (error)
            throw std::runtime_error("cannot create the settings folder " +
                                     PathToUtf8(path.parent_path()) + ": " + error.message());
    }
    SettingsLock lock(path);
    std::map<std::string, unsigned> current;
    std::string why;
    if (ReadSettingsFile(path, current, why) == SettingsRead::Unusable)
        throw std::runtime_error("settings file " + path_ + " became unusable (" + why +
                                 "); not overwritten");
    for (const auto &[name, value] : changed_)
        current[name] = value;
    WriteSettingsFile(path, current);
    stored_ = current;
    changed_.clear();
}

} // namespace iosid::host
