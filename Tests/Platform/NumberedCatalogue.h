// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Dictionary.h"

#include <charconv>
#include <optional>
#include <string>
#include <utility>

namespace quorrel::NumberedCatalogue {

/// One that differs from every other in each host and in length: whoever mixes or cuts two is found out.
[[nodiscard]] inline PropertyValue make(const std::string& saver, int number) {
    constexpr int lengths = 61;
    PropertyValue::Array hosts;
    for (int index = 0; index <= number % lengths; ++index) {
        Dictionary host;
        host.set("displayName", saver + ' ' + std::to_string(number));
        PropertyValue::Array shares;
        for (int share = 0; share < 5; ++share) {
            Dictionary dictionary;
            dictionary.set("sharePoint", saver + std::to_string(number) + '/' + std::to_string(index * 5 + share));
            dictionary.set("delaySeconds", number);
            shares.emplace_back(std::move(dictionary));
        }
        host.set("sharePoints", std::move(shares));
        hosts.emplace_back(std::move(host));
    }
    return hosts;
}

/// Whose catalogue it is and which; absent for one that is not whole.
[[nodiscard]] inline std::optional<std::pair<std::string, int>> identify(const PropertyValue& root) {
    const auto* hosts = std::get_if<PropertyValue::Array>(&root.variant());
    const auto* first = hosts && !hosts->empty() ? std::get_if<Dictionary>(&hosts->front().variant()) : nullptr;
    const auto* title = first ? first->find("displayName") : nullptr;
    const auto* name = title ? std::get_if<std::string>(&title->variant()) : nullptr;
    const auto space = name ? name->rfind(' ') : std::string::npos;
    int number = 0;
    if (space == std::string::npos
        || std::from_chars(name->data() + space + 1, name->data() + name->size(), number).ec != std::errc())
        return std::nullopt;
    auto saver = name->substr(0, space);
    if (!(root == make(saver, number)))
        return std::nullopt;
    return std::pair(std::move(saver), number);
}

} // namespace quorrel::NumberedCatalogue
