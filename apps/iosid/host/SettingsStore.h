// The host's option store: named unsigned values in one JSON settings file per user.
#pragma once
#include <map>
#include <string>

namespace iosid::host {

// Values set with persist=false live for this run only and shadow the stored value; values set
// with persist=true are written by Save. The file is one JSON object of names to unsigned
// 32-bit numbers.
class SettingsStore {
public:
    // $XDG_CONFIG_HOME/iosid/settings.json, else ~/.config/iosid/settings.json;
    // %APPDATA%\iosid\settings.json on Windows. Empty when none of these is known.
    static std::string DefaultPath();

    explicit SettingsStore(std::string path);

    // Reads the file. "" when it was read or is simply missing; otherwise a one-line warning:
    // the store then starts from defaults and Save will not overwrite that file.
    std::string Load();

    // The run's own value when one was set, else the stored one. The flag does not narrow the
    // lookup: a filter reads back with persist=true what it saved for the run only.
    bool Get(const std::string &name, unsigned &value, bool persist) const;
    void Set(const std::string &name, unsigned value, bool persist);

    // Writes the values set with persist=true since Load, merged into the file as it is now
    // (another process may have saved meanwhile): locked, written to a temporary file in the
    // same folder, synced and renamed into place. Creates the folder. Does nothing when Load
    // found the file unusable. Throws std::runtime_error on I/O failure or when the file has
    // become unreadable since Load.
    void Save();

    const std::string &Path() const { return path_; }

private:
    std::string path_;
    std::map<std::string, unsigned> stored_;  // as read, plus this run's persisted changes
    std::map<std::string, unsigned> changed_; // persisted changes not yet saved
    std::map<std::string, unsigned> runOnly_;
    bool keepFile_ = false; // Load found a file it must not overwrite
};

} // namespace iosid::host
