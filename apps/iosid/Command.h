// Subcommand registry of the iosid host: each subcommand file registers itself by name.
#pragma once
#include <functional>
#include <string>
#include <vector>

namespace iosid {

// Exit status of a failed command (the failure is printed as one line on stderr).
constexpr int kExitFailure = 2;
// Exit status of a usage error.
constexpr int kExitUsage = 64;

struct Command {
    std::string name;
    std::string usage; // one line: arguments after the name
    std::function<int(const std::vector<std::string>& args)> run;
};

std::vector<Command>& Commands();

struct RegisterCommand {
    explicit RegisterCommand(Command command) { Commands().push_back(std::move(command)); }
};

// Small argument helpers shared by the subcommands.
bool HasFlag(const std::vector<std::string>& args, const std::string& flag);
// The value after `option` ("-o OUT"), or empty when absent.
std::string OptionValue(const std::vector<std::string>& args, const std::string& option);
// Arguments that are neither options nor option values (options listed in `withValue`).
std::vector<std::string> Positionals(const std::vector<std::string>& args,
                                     const std::vector<std::string>& withValue);
// Escapes text for a JSON string literal (without the quotes).
std::string JsonEscape(const std::string& text);

} // namespace iosid
