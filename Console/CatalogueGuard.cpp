// SPDX-License-Identifier: GPL-3.0-or-later
#include "Console/CatalogueGuard.h"

#include <utility>

namespace quorrel {

CatalogueGuard::CatalogueGuard(PropertyListFile& files, Version version, std::function<void()> refused)
    : m_files(files)
    , m_version(std::move(version))
    , m_refused(std::move(refused)) { }

PropertyListReadResult CatalogueGuard::read(const std::string& path) {
    // Before the content: what is written in between is then taken for another's, which it is.
    m_known[path] = m_version(path);
    return m_files.read(path);
}

std::optional<std::string> CatalogueGuard::write(
    const std::string& path, const PropertyValue& root, const LastLook& lastLook) {
    if (auto reason = refusal(path))
        return reason;
    std::optional<std::string> written;
    auto failure = m_files.write(path, root, [&](const std::string& newFile) -> std::optional<std::string> {
        if (auto reason = refusal(path)) // while it was being written
            return reason;
        if (auto reason = lastLook ? lastLook(newFile) : std::nullopt)
            return reason;
        // Asked in its own place, later, it could be another's that has replaced it at once.
        written = m_version(newFile);
        return std::nullopt;
    });
    // Some failures come when it is in its place already.
    if (written && (!failure || m_version(path) == *written))
        m_known[path] = *written;
    return failure;
}

std::optional<std::string> CatalogueGuard::keepDamaged(const std::string& path) {
    if (auto reason = refusal(path))
        return reason;
    auto failure = m_files.keepDamaged(path);
    if (!failure)
        m_known[path] = m_version(path);
    return failure;
}

std::optional<std::string> CatalogueGuard::refusal(const std::string& path) {
    const auto known = m_known.find(path);
    if (known == m_known.end())
        return std::nullopt;
    const auto version = m_version(path);
    // A file that is gone has nothing to lose: what it held is known to nobody but this program.
    if (version.empty() || version == known->second)
        return std::nullopt;
    m_refused();
    return "Another program has changed it";
}

} // namespace quorrel
