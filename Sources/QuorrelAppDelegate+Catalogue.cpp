// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/QuorrelAppDelegate.h"

#include "Foundation/Log.h"
#include "Platform/Workspace.h"
#include "Sources/BonjourMonitor.h"
#include "Sources/CatalogueFile.h"
#include "Sources/HostDefinition.h"
#include "Sources/SaveQueue.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace quorrel {

namespace {

std::string joined(std::string directory, std::string_view name) {
    if (!directory.ends_with('/'))
        directory += '/';
    return directory.append(name);
}

const PropertyValue::Array* hostDictionaries(const PropertyListReadResult& file) {
    return file.root ? std::get_if<PropertyValue::Array>(&file.root->variant()) : nullptr;
}

} // namespace

std::string QuorrelAppDelegate::applicationSupportFolder() {
    auto& workspace = m_environment.workspace;
    const auto directory = workspace.applicationSupportDirectory();
    auto folder = joined(directory ? *directory : workspace.temporaryDirectory(), "Quorrel");
    if (!workspace.exists(folder))
        workspace.createDirectory(folder);
    return folder;
}

std::string QuorrelAppDelegate::catalogueFile() {
    return joined(applicationSupportFolder(), "Quorrel2.plist");
}

void QuorrelAppDelegate::loadHostsArray() {
    if (m_environment.saves)
        m_environment.saves->finish(); // it is their file too
    const auto file = m_catalogueFile->read(catalogueFile());
    willChangeValueForKey("hosts");
    std::vector<HostPointer> loaded;
    if (const auto* dictionaries = hostDictionaries(file))
        for (const auto& each : *dictionaries)
            if (const auto* dictionary = std::get_if<Dictionary>(&each.variant()))
                loaded.push_back(HostDefinition::initWithDictionary(*dictionary, m_context));
    hosts.replaceUnannounced(loaded);
    dropSpentMonitors();
    for (const auto& host : loaded)
        watchModel(host);
    didChangeValueForKey("hosts");
}

void QuorrelAppDelegate::saveHostsArray() {
    PropertyValue::Array array;
    dropSpentMonitors();
    const auto all = hosts.snapshot();
    array.reserve(all.size());
    for (const auto& host : all) {
        array.emplace_back(host->dictionary());
        watchModel(host);
    }
    // What is saved is as it is now, whenever the disk comes to take it.
    const auto save = [file = m_catalogueFile, path = catalogueFile(), &log = m_environment.log,
                          root = std::make_shared<const PropertyValue>(std::move(array))] {
        if (!file->write(path, *root))
            log.line("Save Failed hosts.");
    };
    if (m_environment.saves)
        m_environment.saves->add(save);
    else
        save();
}

void QuorrelAppDelegate::watchModel(const HostPointer& host) {
    if (m_environment.discovery && !host->monitoring.get())
        m_monitorsArray.push_back(BonjourMonitor::initWithHost(host, *m_environment.discovery));
}

void QuorrelAppDelegate::dropSpentMonitors() {
    // Each is made for a host that it marks, so that there is none to drop unless a mark has gone, or a host.
    const auto ends = m_context->changes->monitoringEnds.load();
    if (std::exchange(m_monitoringEnds, ends) == ends)
        return;
    std::erase_if(m_monitorsArray, [](const auto& monitor) {
        const auto host = monitor->host();
        return !host || !host->monitoring.get();
    });
}

} // namespace quorrel
