#include "qdmctl/Options.h"

#include "qdmctl/Command.h"
#include "qdmctl/TextForms.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstring>
#include <functional>
#include <sstream>

#ifndef QDMCTL_VERSION
#define QDMCTL_VERSION "unknown"
#endif

namespace qdmctl {
namespace {

constexpr char Purpose[] =
    "Lists and updates the Emulex Fibre Channel adapters of this server through their update "
    "provider.";
constexpr char ExitCodes[] =
    "Exit codes: 0 done or nothing to do, 1 failed, 2 wrong call, 3 no such device or no adapter, "
    "4 some ports failed, 7 another run is at work, 8 package or index damaged or unsuitable, "
    "9 refused (needs root). Standard output carries the answer and nothing else.";

struct Flag {
    const char* name;
    bool Options::*target;
    const char* help;
    unsigned set;  ///< of commands that take it; NoOptions: all
};

constexpr Flag Flags[] = {
    {"--json", &Options::json, "answer as one JSON object", NoOptions},
    {"--dry-run", &Options::dryRun, "show what would be done and change nothing", Confirmation},
    {"--yes,-y", &Options::yes, "do not ask before the server is changed", Confirmation},
    {"--allow-older", &Options::allowOlder, "also install packages older than what is installed",
     UpdateChoice},
    {"--force", &Options::force, "also install where the version cannot be read; needs --device",
     UpdateChoice},
};

constexpr char NamesOfPort[] = "device identifier, PCI address or WWPN";

/// CLI11 takes the next word as the value even where that is an option.
std::string RefuseOption(const std::string& value) {
    return StartsWith(value, "--") ? "a value is missing before " + value : std::string();
}

bool IsCommand(const std::string& word) {
    const auto& commands = Commands();
    return std::any_of(commands.begin(), commands.end(),
                       [&](const Command& command) { return word == command.name; });
}

/// Empty unless the first word is no option and no command.
std::string UnknownCommand(int argc, const char* const* argv) {
    const std::string word = argc > 1 ? argv[1] : "-";
    return StartsWith(word, "-") || IsCommand(word) ? std::string()
                                                    : "no command is called \"" + word + "\"";
}

/// In the words of this program where those of the library are its own.
std::string Mistake(const CLI::App& app, const std::string& unknown, const CLI::ParseError& error) {
    if (!unknown.empty()) {
        return unknown;
    }
    const auto is = [&](CLI::ExitCodes code) {
        return error.get_exit_code() == static_cast<int>(code);
    };
    if (is(CLI::ExitCodes::RequiredError) && app.get_subcommands().empty()) {
        return "a command is missing";
    }
    // The library looks at what is missing first; a misspelt option is the nearer reason.
    if (is(CLI::ExitCodes::RequiredError) && app.remaining_size(true) > 0) {
        return CLI::ExtrasError(app.get_name(), app.remaining(true)).what();
    }
    const std::string text = error.what();
    return is(CLI::ExitCodes::ArgumentMismatch) && StartsWith(text, "DEVICE:")
               ? "only one DEVICE is taken"
               : text;
}

/// A line of help in lines of 80 columns; continued ones stand below the texts of options.
std::string WrappedLine(std::string line) {
    constexpr std::size_t width = 80;
    constexpr std::size_t labels = 30;
    const std::size_t indent = StartsWith(line, "  ") ? labels : 0;
    std::string text;
    while (line.size() > width) {
        const std::size_t end = line.rfind(' ', width);
        if (end == std::string::npos || end <= indent) {
            break;  // a single long word
        }
        text += line.substr(0, end) + "\n";
        line = std::string(indent, ' ') + line.substr(end + 1);
    }
    return text + line + "\n";
}

/// The library leaves long lines to the terminal.
std::string Wrapped(const std::string& help) {
    std::istringstream lines(help);
    std::string text;
    for (std::string line; std::getline(lines, line);) {
        text += WrappedLine(line);
    }
    return text;
}

/// Where the help is that fits what could be read of the command line.
std::string HelpHint(const CLI::App& app) {
    const auto chosen = app.get_subcommands();
    if (!chosen.empty()) {
        return "see qdmctl " + chosen.front()->get_name() + " --help";
    }
    std::string names;
    for (const Command& command : Commands()) {
        names += (names.empty() ? "" : ", ") + std::string(command.name);
    }
    return "the commands are " + names + "; see qdmctl --help";
}

void AddDevices(CLI::App& sub, const Command& command, Options& options) {
    if ((command.options & OneDevice) != 0) {
        sub.add_option("DEVICE", options.devices, std::string("the port: ") + NamesOfPort)
            ->required()
            ->type_name("")
            ->expected(1);
    }
    if ((command.options & DeviceFilter) != 0) {
        sub.add_option("--device", options.devices,
                       std::string("only this port: ") + NamesOfPort + "; may be repeated")
            ->type_name("DEVICE")
            ->check(RefuseOption);
    }
}

void AddFolders(CLI::App& sub, const Command& command, Options& options) {
    sub.add_option("--repo", options.repository,
                   command.needsRepository ? "folder that holds the packages and their index.json"
                                           : "accepted by every command; not read by this one")
        ->type_name("DIR")
        ->required(command.needsRepository)
        ->check(RefuseOption);
    if ((command.options & OutputOption) != 0) {
        sub.add_option("--output", options.output, "folder for the report; made when it is missing")
            ->type_name("DIR")
            ->required()
            ->check(RefuseOption);
    }
}

/// The library makes the texts of a range by streams, which most starts have no other use for.
std::function<std::string(const std::string&)> Within(int least, int most) {
    return [least, most](std::string value) { return CLI::Range(least, most)(value); };
}

void AddJobs(CLI::App& sub, Options& options) {
    sub.add_option("--jobs", options.jobs,
                   "ask the adapter tool about up to N ports at a time (1 to 32); on a server with "
                   "many ports a first list takes little more than an N-th of the time, unless the "
                   "tool refuses calls that run beside each other: those are repeated one by one")
        ->check(Within(1, 32))
        ->type_name("N")
        ->default_str(std::to_string(options.jobs));
}

bool Names(int argc, const char* const* argv, const Command& command) {
    return std::any_of(argv, argv + argc,
                       [&](const char* word) { return std::strcmp(word, command.name) == 0; });
}

void AddOptions(CLI::App& sub, const Command& command, Options& options) {
    for (const Flag& flag : Flags) {
        if (flag.set == NoOptions || (flag.set & command.options) != 0) {
            sub.add_flag(flag.name, options.*flag.target, flag.help);
        }
    }
    AddDevices(sub, command, options);
    AddFolders(sub, command, options);
    if ((command.options & ManyCalls) != 0) {
        AddJobs(sub, options);
    }
    sub.add_option("--trace", options.traceFile, "append the debug trace to this file")
        ->type_name("FILE")
        ->check(RefuseOption);
    sub.add_option("--read-timeout", options.readTimeoutSeconds,
                   "end a reading call of the adapter tool after so long (1 to 3600)")
        ->check(Within(1, 3600))
        ->type_name("SECONDS")
        ->default_str(std::to_string(options.readTimeoutSeconds));
}

void AddCommand(CLI::App& app, const Command& command, bool named, Options& options) {
    CLI::App* sub = app.add_subcommand(command.name, command.summary);
    sub->group("Commands");
    if (named) {
        sub->set_version_flag("--version", std::string("qdmctl ") + QDMCTL_VERSION);
        AddOptions(*sub, command, options);
    }
}

/// Commands that the line does not name are nobody's once it begins with one, and their options
/// always; to make them would cost each start its time.
void AddCommands(CLI::App& app, int argc, const char* const* argv, Options& options) {
    const bool beginsWithOne = IsCommand(argc > 1 ? argv[1] : "");
    for (const Command& command : Commands()) {
        const bool named = Names(argc, argv, command);
        if (named || !beginsWithOne) {
            AddCommand(app, command, named, options);
        }
    }
}

/// Mistakes that the table of options cannot tell.
std::string Contradiction(const Options& options) {
    if (options.force && options.devices.empty()) {
        return "--force needs --device: name each port whose version cannot be read";
    }
    return {};
}

CommandLine Finish(CLI::App& app, CommandLine line) {
    const std::string chosen = app.get_subcommands().front()->get_name();
    for (const Command& command : Commands()) {
        if (command.name == chosen) {
            line.options.command = &command;
        }
    }
    line.text = Contradiction(line.options);
    line.wrong = !line.text.empty();
    line.proceed = !line.wrong;
    line.hint = HelpHint(app);
    return line;
}

}  // namespace

CommandLine ParseCommandLine(int argc, const char* const* argv) {
    CommandLine line;
    CLI::App app(Purpose, "qdmctl");
    app.set_version_flag("--version", std::string("qdmctl ") + QDMCTL_VERSION);
    app.require_subcommand(1);
    app.get_formatter()->label("SUBCOMMAND", "COMMAND");
    app.footer(ExitCodes);
    AddCommands(app, argc, argv, line.options);
    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp&) {
        const auto chosen = app.get_subcommands();
        line.text = Wrapped(chosen.empty() ? app.help() : chosen.front()->help("qdmctl"));
        return line;
    } catch (const CLI::CallForVersion& version) {
        line.text = std::string(version.what()) + "\n";
        return line;
    } catch (const CLI::ParseError& error) {
        line.wrong = true;
        line.text = Mistake(app, UnknownCommand(argc, argv), error);
        line.hint = HelpHint(app);
        return line;
    }
    return Finish(app, std::move(line));
}

}  // namespace qdmctl
