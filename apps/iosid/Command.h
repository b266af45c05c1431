// Subcommand registry of the iosid host: each subcommand file registers itself by name and
// declares its arguments on its own CLI11 subcommand.
#pragma once
#include <CLI/CLI.hpp>

#include <functional>
#include <string>
#include <vector>

namespace iosid {

// Exit statuses: done, failed (the failure is printed on stderr), a usage error, and an
// import the user cancelled (as a shell reports an interrupted program).
constexpr int kExitFailure = 2;
constexpr int kExitUsage = 64;
constexpr int kExitCancelled = 130;

struct Command {
    std::string name;
    std::string description;
    // Declares the subcommand's arguments on `app` and returns what runs it once they parsed.
    std::function<std::function<int()>(CLI::App &app)> define;
};

std::vector<Command> &Commands();

struct RegisterCommand {
    explicit RegisterCommand(Command command) { Commands().push_back(std::move(command)); }
};

// Escapes text for a JSON string literal (without the quotes); invalid UTF-8 becomes U+FFFD.
std::string JsonEscape(const std::string &text);

} // namespace iosid
