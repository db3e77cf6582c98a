// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/CatalogueGuard.h"

#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>

namespace quorrel {

namespace {

std::size_t joined(std::size_t left, std::size_t right) {
    constexpr std::size_t prime = 1099511628211U;
    return (left ^ right) * prime;
}

/// Equal for equal values. The values themselves would double what a large catalogue takes in memory.
std::size_t digest(const PropertyValue& value) {
    const auto ofContent = [](const auto& content) {
        using Content = std::decay_t<decltype(content)>;
        std::size_t result = 0;
        if constexpr (std::is_same_v<Content, Dictionary>) {
            // Added up, since other tools write keys in an order of their own.
            for (const auto& [key, entry] : content.entries())
                result += joined(std::hash<std::string_view>()(key), digest(entry));
        } else if constexpr (std::is_same_v<Content, PropertyValue::Array>) {
            for (const auto& each : content)
                result = joined(result, digest(each));
        } else if constexpr (std::is_same_v<Content, PropertyValue::Data>) {
            for (const auto byte : content)
                result = joined(result, byte);
        } else {
            result = std::hash<Content>()(content);
        }
        return result;
    };
    return joined(value.variant().index() + 1, std::visit(ofContent, value.variant()));
}

std::optional<std::size_t> digest(const PropertyListReadResult& file) {
    return file.root ? std::optional(digest(*file.root)) : std::nullopt;
}

} // namespace

CatalogueGuard::CatalogueGuard(
    PropertyListFile& files, Version version, OnEdited onEdited, std::function<void(const std::string& path)> edited)
    : m_files(files)
    , m_version(std::move(version))
    , m_onEdited(onEdited)
    , m_edited(std::move(edited)) { }

PropertyListReadResult CatalogueGuard::read(const std::string& path) {
    // Before the content: what is written in between is then taken for another's, which it is.
    auto version = m_version(path);
    auto file = m_files.read(path);
    m_known[path] = { std::move(version), digest(file) };
    return file;
}

std::optional<std::string> CatalogueGuard::write(
    const std::string& path, const PropertyValue& root, const LastLook& lastLook) {
    if (m_onEdited == OnEdited::Refuse)
        if (auto reason = refusal(path))
            return reason;
    std::optional<std::string> written;
    auto failure = m_files.write(path, root, [&](const std::string& newFile) -> std::optional<std::string> {
        if (auto reason = lastLook ? lastLook(newFile) : std::nullopt)
            return reason;
        if (auto reason = refusal(path)) // while it was being written
            return reason;
        // Asked in its own place, later, it could be another's that has replaced it at once.
        written = m_version(newFile);
        return std::nullopt;
    });
    // Some failures come when it is in its place already.
    if (written && (!failure || m_version(path) == *written))
        m_known[path] = { *written, digest(root) };
    return failure;
}

std::optional<std::string> CatalogueGuard::keepDamaged(const std::string& path) {
    if (m_onEdited == OnEdited::Refuse)
        if (auto reason = refusal(path))
            return reason;
    const bool isKeptEdited = m_onEdited == OnEdited::KeepBeside && isEdited(path);
    if (auto failure = keepBeside(path))
        return failure;
    if (isKeptEdited)
        m_edited(path);
    return std::nullopt;
}

std::optional<std::string> CatalogueGuard::keepBeside(const std::string& path) {
    // Before it is kept: what is written in between is then taken for another's, which it is.
    auto version = m_version(path);
    if (auto failure = m_files.keepDamaged(path))
        return failure;
    m_known[path] = { std::move(version), std::nullopt };
    return std::nullopt;
}

std::optional<std::string> CatalogueGuard::refusal(const std::string& path) {
    if (!isEdited(path))
        return std::nullopt;
    if (m_onEdited == OnEdited::KeepBeside)
        if (auto failure = keepBeside(path))
            return failure;
    m_edited(path);
    if (m_onEdited == OnEdited::KeepBeside)
        return std::nullopt;
    return "Another program has changed it";
}

bool CatalogueGuard::isEdited(const std::string& path) {
    const auto known = m_known.find(path);
    if (known == m_known.end())
        return false;
    auto version = m_version(path);
    // A file that is gone has nothing to lose: what it held is known to nobody but this program.
    if (version.empty() || version == known->second.version)
        return false;
    const auto content = digest(m_files.read(path));
    if (!content || content != known->second.digest)
        return true;
    known->second.version = std::move(version);
    return false;
}

} // namespace quorrel
