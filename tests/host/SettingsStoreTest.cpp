// The settings store: missing and damaged files, persisted and run-only values, concurrent saves
// (each merging what the others saved).
#include "SettingsStore.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
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
    return std::string(std::istreambuf_iterator<char>(in), {});
}

// The value `store` gives for `name`; -1: none.
int64_t Value(SettingsStore &store, const std::string &name, bool persist) {
    unsigned value = 0;
    return store.Get(name, value, persist) ? int64_t{value} : -1;
}

TEST(SettingsStore, DamagedFileWarnsAndIsNotOverwritten) {
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"", "empty"},
        {"{\"Scale\": 4", "not valid JSON"},
        {"[1, 2]", "not a JSON object"},
        {"{\"Scale\": 4294967296}", "Scale"},
        {"{\"Scale\": 2.5}", "Scale"},
    };
    const fs::path folder = FreshFolder("damaged");
    int index = 0;
    for (const auto &[contents, reason] : cases) {
        SCOPED_TRACE(contents);
        const fs::path path = folder / ("settings" + std::to_string(index++) + ".json");
        std::ofstream(path, std::ios::binary) << contents;
        SettingsStore store(path.string());
        const std::string warning = store.Load();
        EXPECT_NE(warning.find(path.string()), std::string::npos) << warning;
        EXPECT_NE(warning.find(reason), std::string::npos) << warning;
        EXPECT_EQ(warning.find('\n'), std::string::npos);
        EXPECT_EQ(Value(store, "Scale", true), -1);
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
    for (bool persist : {false, true}) {
        SCOPED_TRACE(persist);
        EXPECT_EQ(Value(store, "Scale", persist), 16);
        EXPECT_EQ(Value(store, "ULX", persist), 5);
        EXPECT_EQ(Value(store, "Format", persist), 24);
        EXPECT_EQ(Value(store, "LRX", persist), -1);
    }
    store.Save();
    SettingsStore next(path.string());
    ASSERT_EQ(next.Load(), "");
    EXPECT_EQ(Value(next, "Scale", true), 2);
    EXPECT_EQ(Value(next, "ULX", true), -1);
    EXPECT_EQ(Value(next, "Format", true), 24);
    // A persisted value set later replaces the run's own.
    store.Set("Scale", 32, true);
    EXPECT_EQ(Value(store, "Scale", false), 32);
}

TEST(SettingsStore, ConcurrentSavesKeepEveryValue) {
    const fs::path path = FreshFolder("concurrent") / "settings.json";
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
    for (int t = 0; t < kThreads; ++t)
        for (int r = 0; r < kRounds; ++r)
            EXPECT_EQ(Value(check, "v" + std::to_string(t) + "_" + std::to_string(r), true),
                      t * 100 + r);
}

} // namespace
