// SPDX-License-Identifier: GPL-3.0-or-later
#include "Console/CommandLine.h"

#include "Console/DisplayText.h"

#include <string_view>

namespace quorrel {

namespace {

constexpr std::string_view passwordOption = "--password-file";

UsageError wrongUsage(const std::string& message) {
    return { message + "; see quorrelctl --help" };
}

std::string quoted(std::string_view text) {
    return '"' + DisplayText::printable(text) + '"';
}

/// Whether someone tries to hand over a password where every user of the machine can read it.
bool givesPassword(std::string_view option) {
    const auto name = option.substr(0, option.find('='));
    return name == "--password" || name == "--pass" || name == "--passwd" || name.starts_with("-p");
}

std::optional<CommandLine::Command> commandNamed(std::string_view word) {
    if (word == "status")
        return CommandLine::Command::Status;
    if (word == "list")
        return CommandLine::Command::List;
    if (word == "mount")
        return CommandLine::Command::Mount;
    if (word == "unmount" || word == "umount")
        return CommandLine::Command::Unmount;
    if (word == "watch")
        return CommandLine::Command::Watch;
    if (word == "help")
        return CommandLine::Command::Help;
    return std::nullopt;
}

/// Takes an option that stands alone; false when it is none of those.
bool takeFlag(std::string_view option, CommandLine& line, std::optional<CommandLine::Command>& answer) {
    if (option == "--help" || option == "-h")
        answer = answer.value_or(CommandLine::Command::Help);
    else if (option == "--version")
        answer = answer.value_or(CommandLine::Command::Version);
    else if (option == "--all")
        line.all = true;
    else if (option == "--json")
        line.json = true;
    else if (option == "--follow")
        line.follow = true;
    else
        return false;
    return true;
}

std::optional<UsageError> contradiction(const CommandLine& line) {
    using Command = CommandLine::Command;
    const std::string name = line.command == Command::Mount ? "mount" : "unmount";
    if (line.command != Command::Mount && line.command != Command::Watch && line.passwordFile)
        return wrongUsage(std::string(passwordOption) + " goes with mount and watch alone");
    if (line.follow && line.command != Command::Status)
        return wrongUsage("--follow goes with status alone");
    if (line.command == Command::Status)
        return line.all || !line.names.empty()
            ? std::optional(wrongUsage("status takes no names: it tells of every share"))
            : std::nullopt;
    if (line.command == Command::Watch)
        return line.all || line.json || !line.names.empty()
            ? std::optional(wrongUsage("watch takes no names: it keeps every share that mounts automatically"))
            : std::nullopt;
    if (line.command == Command::List)
        return line.all || !line.names.empty() ? std::optional(wrongUsage("list takes no names: it lists every share"))
                                               : std::nullopt;
    if (line.all && !line.names.empty())
        return wrongUsage("give either --all or names, not both");
    if (!line.all && line.names.empty())
        return wrongUsage(name + " needs --all, HOST or HOST/SHARE, as in: quorrelctl " + name + " --all");
    return std::nullopt;
}

} // namespace

std::variant<CommandLine, UsageError> CommandLine::parse(const std::vector<std::string>& arguments) {
    CommandLine line;
    std::vector<std::string> words;
    std::optional<Command> answer;
    bool optionsEnded = false;
    for (std::size_t index = 0; index < arguments.size(); ++index) {
        const auto& argument = arguments[index];
        if (optionsEnded || argument.size() < 2 || argument.front() != '-') {
            words.push_back(argument);
        } else if (argument == "--") {
            optionsEnded = true;
        } else if (argument == passwordOption) {
            if (++index == arguments.size() || arguments[index].empty())
                return wrongUsage("--password-file needs the name of a file");
            line.passwordFile = arguments[index];
        } else if (argument.starts_with(std::string(passwordOption) + '=')) {
            line.passwordFile = argument.substr(passwordOption.size() + 1);
            if (line.passwordFile->empty())
                return wrongUsage("--password-file needs the name of a file");
        } else if (givesPassword(argument)) {
            return wrongUsage("a password is never an argument: use --password-file FILE, or type it when asked");
        } else if (!takeFlag(argument, line, answer)) {
            return wrongUsage("unknown option " + quoted(argument.substr(0, argument.find('='))));
        }
    }
    if (answer) {
        line.command = *answer;
        return line;
    }
    if (words.empty())
        return wrongUsage("a command is needed: status, list, mount, unmount or watch");
    const auto command = commandNamed(words.front());
    if (!command)
        return wrongUsage(
            "unknown command " + quoted(words.front()) + ": there are status, list, mount, unmount and watch");
    line.command = *command;
    if (line.command == Command::Help)
        return line;
    line.names.assign(words.begin() + 1, words.end());
    if (auto error = contradiction(line))
        return *error;
    return line;
}

std::string CommandLine::helpText() {
    return "Mounts and unmounts the network shares of the Quorrel catalogue.\n"
           "\n"
           "  quorrelctl list                                    every share and how it is\n"
           "  quorrelctl status  [--follow]                      the same, a line for each; and each change\n"
           "  quorrelctl mount   (--all | HOST | HOST/SHARE ...)\n"
           "  quorrelctl unmount (--all | HOST | HOST/SHARE ...)\n"
           "  quorrelctl watch                                   keeps mounted what mounts automatically, until ended\n"
           "\n"
           "  --all                 every share of the catalogue\n"
           "  --json                the result as JSON on standard output; of status, an object on each line\n"
           "  --follow              goes on with a line for each change, until it is interrupted\n"
           "  --password-file FILE  for the shares whose password is asked for: the first line of a file\n"
           "                        that nobody else may read; without it the terminal asks, save for watch\n"
           "  --help, --version\n"
           "\n"
           "HOST is a host's name in the catalogue; letter case matters only where names differ in nothing else.\n"
           "Every host of that name is meant. A mounted share is found in ~/Volumes.\n"
           "\n"
           "Where Quorrel or quorrelctl watch runs, that one mounts and unmounts for the other commands; else they do\n"
           "it by themselves, with the same result. status --follow waits for one that does not run.\n"
           "\n"
           "watch follows servers, network and volumes as they come and go, and prints a line for each share whose\n"
           "status changes. It acts on edited preferences at once. A hang-up signal has it read the catalogue anew,\n"
           "unless it runs on a terminal.\n"
           "\n"
           "Exit status: 0 all shares asked for are mounted (mount) or not mounted (unmount), 1 some are not,\n"
           "2 wrong usage or an unknown name, 128 and the signal's number after Ctrl-C or another signal. watch ends\n"
           "with 0 after a signal, and with 1 where Quorrel is running already or the catalogue cannot be read.\n";
}

} // namespace quorrel
