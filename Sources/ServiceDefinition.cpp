// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/ServiceDefinition.h"

#include "Sources/Globals.h"

namespace quorrel {

std::shared_ptr<ServiceDefinition> ServiceDefinition::initWithParentHost(const std::shared_ptr<HostDefinition>& host) {
    auto service = std::make_shared<ServiceDefinition>();
    service->parentHost.set(host);
    service->port.set(-1);
    return service;
}

std::shared_ptr<ServiceDefinition> ServiceDefinition::initWithDictionary(
    const std::shared_ptr<HostDefinition>& host, const Dictionary& dictionary) {
    auto service = std::make_shared<ServiceDefinition>();
    service->parentHost.set(host);
    service->loadDictionary(dictionary);
    service->port.set(-1);
    return service;
}

Dictionary ServiceDefinition::dictionary() const {
    Dictionary result;
    result.set("displayType", displayType.get());
    return result;
}

void ServiceDefinition::loadDictionary(const Dictionary& dictionary) {
    displayType.set(dictionary.text("displayType"));
    type.set(Globals::getFullServiceName(displayType.get()));
    port.set(-1);
}

} // namespace quorrel
