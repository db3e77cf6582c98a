// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/AvahiNames.h"

#include <avahi-common/domain.h>
#include <avahi-common/error.h>

#include <glib.h>

#include <utility>

namespace quorrel {

std::string withoutFinalDot(std::string text) {
    if (text.ends_with('.'))
        text.pop_back();
    return text;
}

std::string withFinalDot(std::string text) {
    return text.ends_with('.') ? text : std::move(text) + '.';
}

bool isFitForBus(const std::string& text) {
    return g_utf8_validate_len(text.data(), text.size(), nullptr);
}

std::string recordName(const std::string& name, const std::string& type, const std::string& domain) {
    if (name.empty() || !isFitForBus(name) || !isFitForBus(type) || !isFitForBus(domain))
        return {};
    char result[AVAHI_DOMAIN_NAME_MAX];
    const int error = avahi_service_name_join(result, sizeof result, name.c_str(), type.c_str(), domain.c_str());
    return error == AVAHI_OK ? result : std::string();
}

} // namespace quorrel
