// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/QuorrelAppDelegate.h"

#include "Foundation/Preferences.h"
#include "Sources/BonjourScanner.h"
#include "Sources/Globals.h"
#include "Sources/HostFileScanner.h"
#include "Sources/SMBScanner.h"

#include <algorithm>
#include <array>
#include <string>

namespace quorrel {

namespace {

constexpr std::string_view keyPathPrefix = "values.";

/// The held scan, ready to be handed to a queue. One that was called off with the rest of the queue never starts
/// again, so another takes its place.
template <typename Scanner>
std::shared_ptr<Scanner> readyScan(std::shared_ptr<Scanner>& held, const DiscoveryEnvironment& environment,
    void (Scanner::*setList)(TextList*), TextList& list) {
    if (!held || held->isCancelled()) {
        held = std::make_shared<Scanner>(environment);
        (held.get()->*setList)(&list);
    }
    return held;
}

} // namespace

/// What one preference turns on and off.
struct QuorrelAppDelegate::Browser final {
    std::string_view preference;
    std::unique_ptr<BonjourScanner> QuorrelAppDelegate::*field;
    const char* serviceName;

    /// In the order in which the switches serve them.
    static const std::array<Browser, 4> all;

    [[nodiscard]] static const Browser* ofPreference(std::string_view key) {
        const auto* found
            = std::find_if(all.begin(), all.end(), [&](const Browser& each) { return each.preference == key; });
        return found == all.end() ? nullptr : found;
    }
};

const std::array<QuorrelAppDelegate::Browser, 4> QuorrelAppDelegate::Browser::all { {
    { "afp", &QuorrelAppDelegate::m_AFP_Scanner, "Apple Filing Protocol (afp)" },
    { "smb", &QuorrelAppDelegate::m_SMB_Scanner, "Server Message Block (smb)" },
    { "ftp", &QuorrelAppDelegate::m_FTP_Scanner, "File Transfer Protocol (ftp)" },
    { "http", &QuorrelAppDelegate::m_HTTP_Scanner, "WebDAV (http)" },
} };

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
        m_preferenceSubscriptions.push_back(m_environment.preferences.observe(key, [this, key](const auto&) {
            onMainThread([this, key] { observeValueForKeyPath(std::string(keyPathPrefix) + key); });
        }));
}

void QuorrelAppDelegate::observeValueForKeyPath(std::string_view keyPath) {
    if (!keyPath.starts_with(keyPathPrefix))
        return;
    const auto key = keyPath.substr(keyPathPrefix.size());
    if (key == "BrowseForServices")
        switchBrowsing();
    else if (const auto* browser = Browser::ofPreference(key))
        switchBrowser(*browser);
    else if (key == "scanForSMBHosts")
        scanForSMBHosts();
    else if (key == "lookUpHostFile")
        lookUpHostFile();
}

void QuorrelAppDelegate::startBrowsers() {
    const auto& preferences = m_environment.preferences;
    if (!preferences.boolean("BrowseForServices"))
        return;
    // Not the order of the switches.
    for (const char* key : { "afp", "smb", "http", "ftp" })
        if (preferences.boolean(key))
            startBrowser(*Browser::ofPreference(key));
}

void QuorrelAppDelegate::switchBrowsing() {
    const auto& preferences = m_environment.preferences;
    const bool isOn = preferences.boolean("BrowseForServices");
    for (const auto& browser : Browser::all)
        if (!isOn)
            stopBrowser(browser);
        else if (preferences.boolean(browser.preference))
            startBrowser(browser);
}

void QuorrelAppDelegate::switchBrowser(const Browser& browser) {
    // Whether services are browsed for at all counts at the start alone.
    if (m_environment.preferences.boolean(browser.preference))
        startBrowser(browser);
    else
        stopBrowser(browser);
}

void QuorrelAppDelegate::startBrowser(const Browser& browser) {
    if (!m_environment.discovery)
        return;
    auto& field = this->*browser.field;
    if (!field)
        field = std::make_unique<BonjourScanner>(*m_environment.discovery);
    field->searchForService(Globals::getFullServiceName(browser.serviceName), std::nullopt);
}

void QuorrelAppDelegate::stopBrowser(const Browser& browser) {
    auto& field = this->*browser.field;
    if (!field)
        return;
    field->stopSearch();
    field.reset();
}

void QuorrelAppDelegate::startScans() {
    scanForSMBHosts();
    lookUpHostFile();
}

void QuorrelAppDelegate::scanForSMBHosts() {
    // A scan that runs or waits is only let go of: the queue keeps it, and it goes on to its end.
    if (!m_environment.preferences.boolean("scanForSMBHosts"))
        m_shellSBMScanner.reset();
    else if (m_environment.discovery)
        m_opQueue->addOperation(
            readyScan(m_shellSBMScanner, *m_environment.discovery, &SMBScanner::setSmbHosts, bonjourServices));
}

void QuorrelAppDelegate::lookUpHostFile() {
    if (!m_environment.preferences.boolean("lookUpHostFile"))
        m_hostFileScanner.reset();
    else if (m_environment.discovery)
        m_opQueue->addOperation(
            readyScan(m_hostFileScanner, *m_environment.discovery, &HostFileScanner::setHosts, bonjourServices));
}

} // namespace quorrel
