// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/RemoteInterface.h"

#include <algorithm>
#include <array>
#include <utility>

namespace quorrel::RemoteInterface {

namespace {

using Failure = RemoteFailure::Kind;
using Kind = RemoteCommand::Kind;

constexpr std::string_view errorPrefix = "org.quorrel.Quorrel1.Error.";

constexpr std::array<std::pair<Failure, std::string_view>, 12> errorNames { {
    { Failure::AccessDenied, "AccessDenied" },
    { Failure::BadPassword, "BadPassword" },
    { Failure::Busy, "Busy" },
    { Failure::MountFailed, "MountFailed" },
    { Failure::NoAnswer, "NoAnswer" },
    { Failure::PasswordNeeded, "PasswordNeeded" },
    { Failure::ShuttingDown, "ShuttingDown" },
    { Failure::UnknownFavourite, "UnknownFavourite" },
    { Failure::UnknownHost, "UnknownHost" },
    { Failure::UnknownShare, "UnknownShare" },
    { Failure::UnmountFailed, "UnmountFailed" },
    { Failure::Other, "Failed" },
} };

struct Method final {
    Kind kind;
    std::string_view name;
    bool takesName;
    bool returnsShares;
};

constexpr std::array<Method, 7> methods { {
    { Kind::Mount, "Mount", true, false },
    { Kind::Unmount, "Unmount", true, false },
    { Kind::MountHost, "MountHost", true, true },
    { Kind::UnmountHost, "UnmountHost", true, true },
    { Kind::MountAll, "MountAll", false, true },
    { Kind::UnmountAll, "UnmountAll", false, true },
    { Kind::MountFavourite, "MountFavourite", true, false },
} };

const Method& methodOf(Kind kind) {
    return *std::find_if(methods.begin(), methods.end(), [&](const Method& each) { return each.kind == kind; });
}

constexpr std::array<std::pair<const char*, std::string RemoteShare::*>, 8> texts { {
    { "id", &RemoteShare::id },
    { "host", &RemoteShare::host },
    { "service", &RemoteShare::service },
    { "share", &RemoteShare::share },
    { "state", &RemoteShare::state },
    { "status", &RemoteShare::status },
    { "error", &RemoteShare::error },
    { "path", &RemoteShare::path },
} };

constexpr std::array<std::pair<const char*, bool RemoteShare::*>, 4> flags { {
    { "mounted", &RemoteShare::mounted },
    { "automatic", &RemoteShare::automatic },
    { "favourite", &RemoteShare::favourite },
    { "needs-password", &RemoteShare::needsPassword },
} };

/// A bus ends the connection of whoever sends what is not UTF-8, and names in a catalogue may be anything.
GVariant* textVariant(const std::string& text) {
    return g_variant_new_take_string(g_utf8_make_valid(text.data(), static_cast<gssize>(text.size())));
}

/// Null where there is none of that type.
GlibPointer<GVariant> entry(GVariant* dictionary, const char* key, const GVariantType* type) {
    return GlibPointer<GVariant>(g_variant_lookup_value(dictionary, key, type));
}

std::string textIn(GVariant* dictionary, const char* key) {
    const auto value = entry(dictionary, key, G_VARIANT_TYPE_STRING);
    return value ? g_variant_get_string(value.get(), nullptr) : std::string();
}

bool flagIn(GVariant* dictionary, const char* key) {
    const auto value = entry(dictionary, key, G_VARIANT_TYPE_BOOLEAN);
    return value && g_variant_get_boolean(value.get()) != FALSE;
}

RemoteHost hostFrom(GVariant* dictionary) {
    RemoteHost host { textIn(dictionary, "name"), 0, flagIn(dictionary, "resolved"), flagIn(dictionary, "seen") };
    if (const auto count = entry(dictionary, "shares", G_VARIANT_TYPE_UINT32))
        host.shares = g_variant_get_uint32(count.get());
    return host;
}

template <typename T>
std::vector<T> listFrom(GVariant* list, T (*from)(GVariant*)) {
    std::vector<T> result;
    if (!g_variant_is_of_type(list, G_VARIANT_TYPE("aa{sv}")))
        return result;
    for (gsize index = 0; index < g_variant_n_children(list); ++index) {
        const GlibPointer<GVariant> child(g_variant_get_child_value(list, index));
        result.push_back(from(child.get()));
    }
    return result;
}

} // namespace

GVariant* toVariant(const RemoteShare& share) {
    GVariantBuilder builder;
    g_variant_builder_init(&builder, G_VARIANT_TYPE_VARDICT);
    for (const auto& [key, member] : texts)
        g_variant_builder_add(&builder, "{sv}", key, textVariant(share.*member));
    for (const auto& [key, member] : flags)
        g_variant_builder_add(&builder, "{sv}", key, g_variant_new_boolean(share.*member ? TRUE : FALSE));
    return g_variant_builder_end(&builder);
}

GVariant* toVariant(const std::vector<RemoteShare>& shares) {
    GVariantBuilder builder;
    g_variant_builder_init(&builder, G_VARIANT_TYPE("aa{sv}"));
    for (const auto& share : shares)
        g_variant_builder_add_value(&builder, toVariant(share));
    return g_variant_builder_end(&builder);
}

GVariant* toVariant(const std::vector<RemoteHost>& hosts) {
    GVariantBuilder builder;
    g_variant_builder_init(&builder, G_VARIANT_TYPE("aa{sv}"));
    for (const auto& host : hosts) {
        g_variant_builder_open(&builder, G_VARIANT_TYPE_VARDICT);
        g_variant_builder_add(&builder, "{sv}", "name", textVariant(host.name));
        g_variant_builder_add(&builder, "{sv}", "shares", g_variant_new_uint32(static_cast<guint32>(host.shares)));
        g_variant_builder_add(&builder, "{sv}", "resolved", g_variant_new_boolean(host.resolved ? TRUE : FALSE));
        g_variant_builder_add(&builder, "{sv}", "seen", g_variant_new_boolean(host.seen ? TRUE : FALSE));
        g_variant_builder_close(&builder);
    }
    return g_variant_builder_end(&builder);
}

RemoteShare shareFrom(GVariant* dictionary) {
    RemoteShare share;
    for (const auto& [key, member] : texts)
        share.*member = textIn(dictionary, key);
    for (const auto& [key, member] : flags)
        share.*member = flagIn(dictionary, key);
    return share;
}

std::vector<RemoteShare> sharesFrom(GVariant* list) {
    return listFrom<RemoteShare>(list, &shareFrom);
}

std::vector<RemoteHost> hostsFrom(GVariant* list) {
    return listFrom<RemoteHost>(list, &hostFrom);
}

std::string errorName(RemoteFailure::Kind kind) {
    const auto* found
        = std::find_if(errorNames.begin(), errorNames.end(), [&](const auto& each) { return each.first == kind; });
    return std::string(errorPrefix) + std::string(found->second);
}

RemoteFailure failureFrom(const GError& error) {
    const GlibPointer<gchar> remote(g_dbus_error_get_remote_error(&error));
    const std::string_view name = remote ? remote.get() : "";
    const GlibPointer<GError> copy(g_error_copy(&error));
    g_dbus_error_strip_remote_error(copy.get());
    RemoteFailure failure { Failure::Other, copy->message };
    if (name.starts_with(errorPrefix)) {
        for (const auto& [kind, known] : errorNames)
            if (name.substr(errorPrefix.size()) == known)
                failure.kind = kind;
    } else if (!remote || name == "org.freedesktop.DBus.Error.NoReply"
        || name == "org.freedesktop.DBus.Error.ServiceUnknown" || name == "org.freedesktop.DBus.Error.NameHasNoOwner") {
        failure.kind = Failure::NoAnswer;
    }
    return failure;
}

std::string_view methodName(RemoteCommand::Kind kind) {
    return methodOf(kind).name;
}

std::optional<RemoteCommand::Kind> commandNamed(std::string_view method) {
    const auto* found
        = std::find_if(methods.begin(), methods.end(), [&](const Method& each) { return each.name == method; });
    return found == methods.end() ? std::nullopt : std::optional(found->kind);
}

bool takesName(RemoteCommand::Kind kind) {
    return methodOf(kind).takesName;
}

bool returnsShares(RemoteCommand::Kind kind) {
    return methodOf(kind).returnsShares;
}

} // namespace quorrel::RemoteInterface
