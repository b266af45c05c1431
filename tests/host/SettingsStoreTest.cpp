// The settings store: missing and damaged files, persisted and run-only values, concurrent saves
// (each merging what the others saved).
#include "SettingsStore.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace {

namespace fs = std::filesystem;
using iosid::host::SettingsStore;

fs::path FreshFolder(const std::string &name) {
    const fs::path folder = fs::path(IOSID_BUILD_DIR) / "settings" / name;
    fs::remove_all(folder);
    fs::create_directories(folder);
    return folder;
}

std::string ReadText(const fs::path &path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

void WriteText(const fs::path &path, const std::string &text) {
    std::ofstream(path, std::ios::binary) << text;
}

TEST(SettingsStore, DamagedFileWarnsAndIsNotOverwritten) {
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"", "empty"},
        {"{\"Scale\": 4", "not valid JSON"},
        {"[1, 2]", "not a JSON object"},
        {"{\"Scale\": -1}", "Scale"},
        {"{\"Scale\": 4294967296}", "Scale"},
        {"{\"Scale\": \"4\"}", "Scale"},
        {"{\"Scale\": 2.5}", "Scale"},
        {std::string("{\"Scale\": 4}\0garbage", 20), "not valid JSON"},
    };
    const fs::path folder = FreshFolder("damaged");
    int index = 0;
    for (const auto &[contents, reason] : cases) {
        SCOPED_TRACE(contents);
        const fs::path path = folder / ("settings" + std::to_string(index++) + ".json");
        WriteText(path, contents);
        SettingsStore store(path.string());
        const std::string warning = store.Load();
        EXPECT_NE(warning.find(path.string()), std::string::npos) << warning;
        EXPECT_NE(warning.find(reason), std::string::npos) << warning;
        EXPECT_EQ(warning.find('\n'), std::string::npos);
        unsigned value = 0;
        EXPECT_FALSE(store.Get("Scale", value, true));
        store.Set("Scale", 8, true);
        EXPECT_NO_THROW(store.Save());
        EXPECT_EQ(ReadText(path), contents);
    }
}

TEST(SettingsStore, MissingFileThenRunOnlyValuesShadowAndAreNotWritten) {
    const fs::path path = FreshFolder("runonly") / "sub" / "settings.json";
    SettingsStore first(path.string());
    EXPECT_EQ(first.Load(), ""); // missing: defaults, no warning
    unsigned kept = 7;
    EXPECT_FALSE(first.Get("Scale", kept, true));
    EXPECT_EQ(kept, 7u);
    first.Set("Scale", 2, true);
    first.Set("Format", 8, true);
    first.Save(); // creates the folder
    SettingsStore store(path.string());
    ASSERT_EQ(store.Load(), "");
    store.Set("Scale", 16, false);
    store.Set("ULX", 5, false);
    store.Set("Format", 24, true);
    struct Expect {
        const char *name;
        bool present;
        unsigned value;
    };
    for (const Expect &e : {Expect{"Scale", true, 16}, Expect{"ULX", true, 5},
                            Expect{"Format", true, 24}, Expect{"LRX", false, 0}}) {
        for (bool persist : {false, true}) {
            unsigned value = 0;
            EXPECT_EQ(store.Get(e.name, value, persist), e.present) << e.name;
            EXPECT_EQ(value, e.value) << e.name << " persist " << persist;
        }
    }
    store.Save();
    SettingsStore next(path.string());
    ASSERT_EQ(next.Load(), "");
    for (const Expect &e :
         {Expect{"Scale", true, 2}, Expect{"ULX", false, 0}, Expect{"Format", true, 24}}) {
        unsigned value = 0;
        EXPECT_EQ(next.Get(e.name, value, true), e.present) << e.name;
        EXPECT_EQ(value, e.value) << e.name;
    }
    // A persisted value set later replaces the run's own.
    store.Set("Scale", 32, true);
    unsigned value = 0;
    ASSERT_TRUE(store.Get("Scale", value, false));
    EXPECT_EQ(value, 32u);
}

TEST(SettingsStore, ConcurrentSavesKeepEveryValue) {
    const fs::path folder = FreshFolder("concurrent");
    const fs::path path = folder / "settings.json";
    constexpr int kThreads = 6, kRounds = 15;
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            for (int r = 0; r < kRounds; ++r) {
                SettingsStore store(path.string());
                ASSERT_EQ(store.Load(), "");
                store.Set("v" + std::to_string(t) + "_" + std::to_string(r), t * 100 + r, true);
                store.Save();
            }
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    SettingsStore check(path.string());
    ASSERT_EQ(check.Load(), "");
    for (int t = 0; t < kThreads; ++t) {
        for (int r = 0; r < kRounds; ++r) {
            unsigned value = 0;
            EXPECT_TRUE(check.Get("v" + std::to_string(t) + "_" + std::to_string(r), value, true));
            EXPECT_EQ(value, static_cast<unsigned>(t * 100 + r));
        }
    }
    // Nothing but the file and its lock is left in the folder.
    for (const auto &entry : fs::directory_iterator(folder)) {
        const std::string name = entry.path().filename().string();
        EXPECT_TRUE(name == "settings.json" || name == "settings.json.lock") << name;
    }
}

#ifndef _WIN32
TEST(SettingsStore, DefaultPathFollowsTheEnvironment) {
    // XDG_CONFIG_HOME (null: unset) and the path; HOME is /home/u. The test leaves them set.
    const std::pair<const char *, const char *> cases[] = {
        {"/cfg", "/cfg/iosid/settings.json"},
        {nullptr, "/home/u/.config/iosid/settings.json"},
        {"relative", "/home/u/.config/iosid/settings.json"},
        {"", "/home/u/.config/iosid/settings.json"},
    };
    setenv("HOME", "/home/u", 1);
    for (const auto &[xdg, expected] : cases) {
        xdg ? setenv("XDG_CONFIG_HOME", xdg, 1) : unsetenv("XDG_CONFIG_HOME");
        EXPECT_EQ(SettingsStore::DefaultPath(), expected);
    }
}
#endif

} // namespace
