// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/CatalogueFile.h"

#include <algorithm>
#include <string_view>
#include <variant>

namespace quorrel {

namespace {

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
    const auto& hosts = std::get<PropertyValue::Array>(file.root->variant());
    return std::all_of(hosts.begin(), hosts.end(), [](const PropertyValue& each) {
        const auto& host = std::get<Dictionary>(each.variant());
        const auto isWholeList = [&](std::string_view key) {
            const auto* list = host.find(key);
            return !list || holdsDictionariesAlone(list);
        };
        return isWholeList("services") && isWholeList("sharePoints");
    });
}

} // namespace

CatalogueFile::CatalogueFile(PropertyListFile& files)
    : m_files(files) { }

PropertyListReadResult CatalogueFile::read(const std::string& path) {
    auto file = m_files.read(path);
    m_content = isWhole(file) ? Content::Replaceable : Content::Damaged;
    return file;
}

bool CatalogueFile::write(const std::string& path, const PropertyValue& root) {
    if (m_content == Content::NotLookedAt)
        static_cast<void>(read(path));
    if (m_content == Content::Damaged && m_files.keepDamaged(path))
        return false;
    m_content = Content::Replaceable;
    return !m_files.write(path, root);
}

} // namespace quorrel
