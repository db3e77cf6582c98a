// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/HostDefinition.h"

#include "Foundation/Text.h"
#include "Sources/Globals.h"
#include "Sources/ServiceDefinition.h"
#include "Sources/SharePointDefinition.h"

#include <algorithm>
#include <utility>

namespace quorrel {

namespace {

template <typename Items, typename Matches>
typename Items::value_type firstWhere(const Items& items, Matches matches) {
    const auto found = std::find_if(items.begin(), items.end(), matches);
    return found == items.end() ? nullptr : *found;
}

/// The dictionaries of an array; elements of another kind are passed over.
template <typename Visit>
void forEachDictionary(const std::vector<PropertyValue>* array, Visit visit) {
    if (!array)
        return;
    for (const auto& value : *array)
        if (const auto* dictionary = std::get_if<Dictionary>(&value.variant()))
            visit(*dictionary);
}

template <typename Items>
PropertyValue::Array dictionariesOf(const Items& items) {
    PropertyValue::Array result;
    result.reserve(items.size());
    for (const auto& item : items)
        result.emplace_back(item->dictionary());
    return result;
}

} // namespace

HostDefinition::HostDefinition(CatalogueContextPointer context)
    : m_context(std::move(context)) { }

HostDefinition::~HostDefinition() {
    ++m_context->changes->monitoringEnds;
    ++m_context->changes->resolvingEnds;
}

std::shared_ptr<HostDefinition> HostDefinition::initWithName(const std::string& name, CatalogueContextPointer context) {
    auto host = std::make_shared<HostDefinition>(std::move(context));
    host->m_hasLists = true;
    host->displayName.set(name);
    host->automatically.set(true);
    return host;
}

std::shared_ptr<HostDefinition> HostDefinition::initWithDictionary(
    const std::optional<Dictionary>& dictionary, CatalogueContextPointer context) {
    auto host = std::make_shared<HostDefinition>(std::move(context));
    if (!dictionary)
        return host;
    host->m_hasLists = true;
    host->loadDictionary(*dictionary);
    return host;
}

std::shared_ptr<SharePointDefinition> HostDefinition::sharePointForName(const OptionalText& name) const {
    return name ? firstWhere(sharePoints.snapshot(), [&](const auto& each) { return each->sharePoint.get() == name; })
                : nullptr;
}

std::shared_ptr<ServiceDefinition> HostDefinition::serviceForFullType(const OptionalText& type) const {
    return type ? firstWhere(services.snapshot(), [&](const auto& each) { return each->type.get() == type; }) : nullptr;
}

std::shared_ptr<ServiceDefinition> HostDefinition::serviceForDisplayType(const OptionalText& displayType) const {
    return displayType
        ? firstWhere(services.snapshot(), [&](const auto& each) { return each->displayType.get() == displayType; })
        : nullptr;
}

int HostDefinition::sharePointCountforServiceName(const OptionalText& displayType) const {
    const auto all = sharePoints.snapshot();
    return static_cast<int>(std::count_if(all.begin(), all.end(),
        [&](const auto& each) { return displayType && each->displayType.get() == displayType; }));
}

bool HostDefinition::passwordIsEmpty() const {
    return textOf(password.get()).empty();
}

bool HostDefinition::isNameIP() const {
    return Globals::isIPAddress(displayName.get());
}

bool HostDefinition::hasLists() const {
    return m_hasLists || services.count() > 0 || sharePoints.count() > 0;
}

void HostDefinition::setComputerModel(const OptionalText& modelCode) {
    icon.set(Globals::getComputerIconForModelCode(m_context->workspace, modelCode));
    computerModel.assign(modelCode);
}

std::string HostDefinition::countText(std::size_t count, std::string_view singular, std::string_view plural) const {
    return Text::filled(m_context->strings.text(count < 2 ? singular : plural), { std::to_string(count) });
}

std::string HostDefinition::servicesCountString() const {
    return countText(services.count(), localizable("%i service"), localizable("%i services"));
}

std::string HostDefinition::sharesCountString() const {
    return countText(sharePoints.count(), localizable("%i share"), localizable("%i shares"));
}

void HostDefinition::updateCounts() {
    willChangeValueForKey("servicesCountString");
    willChangeValueForKey("sharesCountString");
    didChangeValueForKey("servicesCountString");
    didChangeValueForKey("sharesCountString");
}

void HostDefinition::resetStatus() {
    password.set(std::nullopt);
    passwordDate.set(std::nullopt);
    timeout.set(std::nullopt);
    resolved.set(false);
    resolving.set(false);
    monitoring.set(false);
    bonjour.set(false);
    for (const auto& sharePoint : sharePoints.snapshot())
        sharePoint->resetStatus();
}

Dictionary HostDefinition::dictionary() const {
    Dictionary result;
    result.set("displayName", displayName.get());
    result.set("computerModel", computerModel.get());
    result.set("hostName", hostName.get());
    result.set("domain", domain.get());
    result.set("automatically", automatically.get());
    if (hasLists()) {
        result.set("services", dictionariesOf(services.snapshot()));
        result.set("sharePoints", dictionariesOf(sharePoints.snapshot()));
    }
    return result;
}

void HostDefinition::loadDictionary(const Dictionary& dictionary) {
    displayName.set(dictionary.text("displayName"));
    setComputerModel(dictionary.text("computerModel"));
    hostName.set(dictionary.text("hostName"));
    domain.set(dictionary.text("domain"));
    automatically.set(dictionary.flag("automatically").value_or(true));
    m_hasLists = true;
    const auto self = shared_from_this();
    forEachDictionary(dictionary.array("services"),
        [&](const Dictionary& each) { services.append(ServiceDefinition::initWithDictionary(self, each)); });
    forEachDictionary(dictionary.array("sharePoints"),
        [&](const Dictionary& each) { sharePoints.append(SharePointDefinition::initWithDictionary(self, each)); });
}

} // namespace quorrel
