// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/QuorrelAppDelegate.h"

#include "Foundation/Log.h"
#include "Platform/PropertyListFile.h"
#include "Platform/Workspace.h"
#include "Sources/BonjourMonitor.h"
#include "Sources/HostDefinition.h"

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

bool holdsDictionariesAlone(const PropertyValue* list) {
    const auto* array = list ? std::get_if<PropertyValue::Array>(&list->variant()) : nullptr;
    return array && std::all_of(array->begin(), array->end(), [](const PropertyValue& each) {
        return std::holds_alternative<Dictionary>(each.variant());
    });
}

/// Whether loading the file takes in all that it holds, so that a save loses nothing.
bool isWhole(const PropertyListReadResult& file) {
    if (file.outcome == PropertyListReadResult::Outcome::Missing)
        return true;
    if (!file.root || !holdsDictionariesAlone(&*file.root))
        return false;
    const auto* hosts = hostDictionaries(file);
    return std::all_of(hosts->begin(), hosts->end(), [](const PropertyValue& each) {
        const auto& host = std::get<Dictionary>(each.variant());
        const auto isWholeList = [&](std::string_view key) {
            const auto* list = host.find(key);
            return !list || holdsDictionariesAlone(list);
        };
        return isWholeList("services") && isWholeList("sharePoints");
    });
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

PropertyListReadResult QuorrelAppDelegate::readCatalogueFile() {
    auto file = m_environment.propertyListFile.read(catalogueFile());
    m_catalogueFile = isWhole(file) ? CatalogueFile::Replaceable : CatalogueFile::Damaged;
    return file;
}

void QuorrelAppDelegate::loadHostsArray() {
    const auto file = readCatalogueFile();
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
    for (const auto& host : hosts.snapshot()) {
        array.emplace_back(host->dictionary());
        watchModel(host);
    }
    if (!writeCatalogueFile(PropertyValue(std::move(array))))
        m_environment.log.line("Save Failed hosts.");
}

bool QuorrelAppDelegate::writeCatalogueFile(const PropertyValue& root) {
    auto& files = m_environment.propertyListFile;
    const auto path = catalogueFile();
    if (m_catalogueFile == CatalogueFile::NotLookedAt)
        static_cast<void>(readCatalogueFile());
    // What this program could not read, its user may still be able to repair.
    if (m_catalogueFile == CatalogueFile::Damaged && files.keepDamaged(path))
        return false;
    m_catalogueFile = CatalogueFile::Replaceable;
    return !files.write(path, root);
}

void QuorrelAppDelegate::watchModel(const HostPointer& host) {
    if (m_environment.discovery && !host->monitoring.get())
        m_monitorsArray.push_back(BonjourMonitor::initWithHost(host, *m_environment.discovery));
}

void QuorrelAppDelegate::dropSpentMonitors() {
    std::erase_if(m_monitorsArray, [](const auto& monitor) {
        const auto host = monitor->host();
        return !host || !host->monitoring.get();
    });
}

} // namespace quorrel
