// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/QuorrelAppDelegate.h"

#include "Foundation/Preferences.h"

#include <string>

namespace quorrel {

namespace {

constexpr std::string_view keyPathPrefix = "values.";

} // namespace

void QuorrelAppDelegate::writeFirstLaunchDefaults() {
    auto& preferences = m_environment.preferences;
    if (preferences.value("BrowseForServices"))
        return;
    // A store that cannot be written costs no more than these defaults in the next run.
    for (const char* key : { "BrowseForServices", "afp", "smb", "logToConsole", "scanForSMBHosts" })
        static_cast<void>(preferences.set(key, true));
}

void QuorrelAppDelegate::observePreferences() {
    for (const char* key : { "BrowseForServices", "afp", "smb", "ftp", "http", "scanForSMBHosts", "lookUpHostFile" })
        m_preferenceSubscriptions.push_back(
            m_environment.preferences.observe(key, [this, key](const std::optional<PreferenceValue>& newValue) {
                onMainThread(
                    [this, key, newValue] { observeValueForKeyPath(std::string(keyPathPrefix) + key, newValue); });
            }));
}

void QuorrelAppDelegate::observeValueForKeyPath(
    std::string_view keyPath, const std::optional<PreferenceValue>& newValue) {
    if (!keyPath.starts_with(keyPathPrefix))
        return;
    if (auto* switches = m_environment.parts.preferenceSwitches())
        switches->preferenceChanged(keyPath.substr(keyPathPrefix.size()), newValue);
}

} // namespace quorrel
