// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/SaveReport.h"

#include <utility>

namespace quorrel {

SaveReport::SaveReport(PropertyListFile& files, Handlers handlers)
    : m_files(files)
    , m_handlers(std::move(handlers)) { }

PropertyListReadResult SaveReport::read(const std::string& path) {
    return m_files.read(path);
}

std::optional<std::string> SaveReport::write(
    const std::string& path, const PropertyValue& root, const LastLook& lastLook) {
    bool isRefused = false;
    auto failure = m_files.write(path, root, [&](const std::string& newFile) {
        auto reason = lastLook ? lastLook(newFile) : std::nullopt;
        isRefused = reason.has_value();
        return reason;
    });
    if (isRefused)
        return failure;
    if (failure)
        tellFailure(path, *failure);
    else if (std::exchange(m_isFailing, false))
        m_handlers.recovered(path);
    return failure;
}

std::optional<std::string> SaveReport::keepDamaged(const std::string& path) {
    // Nothing is saved yet when it succeeds: the write follows.
    auto failure = m_files.keepDamaged(path);
    if (failure)
        tellFailure(path, *failure);
    return failure;
}

void SaveReport::tellFailure(const std::string& path, const std::string& reason) {
    if (!std::exchange(m_isFailing, true))
        m_handlers.failed(path, reason);
}

} // namespace quorrel
