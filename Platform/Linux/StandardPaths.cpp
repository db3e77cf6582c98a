// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/StandardPaths.h"

#include "Platform/Linux/ServerURL.h"

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <sstream>

#include <pwd.h>
#include <unistd.h>

namespace quorrel {

namespace {

/// A variable that does not name an absolute path is to be taken as not set.
std::optional<std::string> folder(const char* variable) {
    const char* value = std::getenv(variable);
    if (!value || *value != '/')
        return std::nullopt;
    std::string path(value);
    while (path.size() > 1 && path.back() == '/')
        path.pop_back();
    return path;
}

std::optional<std::string> address(const char* variable) {
    const char* value = std::getenv(variable);
    return value && *value ? std::optional<std::string>(value) : std::nullopt;
}

std::string homeFromAccounts() {
    constexpr std::size_t largest = 1U << 20U;
    for (std::vector<char> buffer(1024); buffer.size() <= largest; buffer.resize(buffer.size() * 2)) {
        passwd entry {};
        passwd* found = nullptr;
        const int error = getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &found);
        if (error == ERANGE)
            continue;
        return found && found->pw_dir && *found->pw_dir == '/' ? found->pw_dir : "/";
    }
    return "/";
}

/// Relative folders are left out: a program's meaning must not hang on where it was started.
std::vector<std::string> foldersIn(const char* list) {
    std::vector<std::string> folders;
    std::istringstream stream(list ? list : "");
    for (std::string path; std::getline(stream, path, ':');)
        if (path.starts_with('/'))
            folders.push_back(path);
    return folders;
}

/// The order in which gettext looks texts up: a list of languages counts in every locale but the one without any.
std::string languagesOf() {
    std::string locale;
    for (const char* variable : { "LC_ALL", "LC_MESSAGES", "LANG" })
        if (const char* value = std::getenv(variable); locale.empty() && value)
            locale = value;
    if (locale.empty() || locale == "C" || locale == "POSIX")
        return {};
    const char* list = std::getenv("LANGUAGE");
    return list && *list ? std::string(list) + ":" + locale : locale;
}

} // namespace

StandardPaths StandardPaths::fromEnvironment() {
    StandardPaths paths;
    const auto home = folder("HOME");
    paths.home = home ? *home : homeFromAccounts();
    const std::string below = paths.home == "/" ? std::string() : paths.home;
    paths.data = folder("XDG_DATA_HOME").value_or(below + "/.local/share");
    paths.config = folder("XDG_CONFIG_HOME").value_or(below + "/.config");
    paths.state = folder("XDG_STATE_HOME").value_or(below + "/.local/state");
    paths.cache = folder("XDG_CACHE_HOME").value_or(below + "/.cache");
    paths.runtime = folder("XDG_RUNTIME_DIR");
    paths.temporary = folder("TMPDIR").value_or("/tmp");
    paths.systemBus = address("DBUS_SYSTEM_BUS_ADDRESS").value_or("unix:path=/run/dbus/system_bus_socket");
    const auto usualPlace = paths.runtime ? "unix:path=" + percentEncoded(*paths.runtime + "/bus", "/") : std::string();
    paths.sessionBus = address("DBUS_SESSION_BUS_ADDRESS").value_or(usualPlace);
    paths.serviceManager = address("NOTIFY_SOCKET").value_or(std::string());
    paths.languages = languagesOf();
    paths.programs = foldersIn(std::getenv("PATH"));
    return paths;
}

} // namespace quorrel
