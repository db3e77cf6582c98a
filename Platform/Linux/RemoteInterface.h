// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Linux/GlibPointers.h"
#include "Platform/RemoteShare.h"

#include <optional>
#include <string>
#include <string_view>

/// The interface on the session bus: its names, and values to and from messages. No state; any thread.
namespace quorrel::RemoteInterface {

constexpr const char* name = "org.quorrel.Quorrel1"; // of the interface, and of whoever offers it
constexpr const char* path = "/org/quorrel/Quorrel1";
constexpr const char* propertiesInterface = "org.freedesktop.DBus.Properties";
constexpr unsigned version = 1;
/// In the options of a command: a file descriptor, from which a line is read.
constexpr const char* passwordOption = "password";

/// What Resources/DBus/org.quorrel.Quorrel1.xml says.
extern const char* const introspection;

[[nodiscard]] GVariant* toVariant(const RemoteShare& share); // floating, as GLib's makers have it
[[nodiscard]] GVariant* toVariant(const std::vector<RemoteShare>& shares);
[[nodiscard]] GVariant* toVariant(const std::vector<RemoteHost>& hosts);
/// Whatever others send: what is missing or of another type is as in a new record.
[[nodiscard]] RemoteShare shareFrom(GVariant* dictionary);
[[nodiscard]] std::vector<RemoteShare> sharesFrom(GVariant* list);
[[nodiscard]] std::vector<RemoteHost> hostsFrom(GVariant* list);

[[nodiscard]] std::string errorName(RemoteFailure::Kind kind);
[[nodiscard]] RemoteFailure failureFrom(const GError& error);

[[nodiscard]] std::string_view methodName(RemoteCommand::Kind kind);
[[nodiscard]] std::optional<RemoteCommand::Kind> commandNamed(std::string_view method);
/// Whether its method takes the name of something, and whether it returns shares.
[[nodiscard]] bool takesName(RemoteCommand::Kind kind);
[[nodiscard]] bool returnsShares(RemoteCommand::Kind kind);

} // namespace quorrel::RemoteInterface
