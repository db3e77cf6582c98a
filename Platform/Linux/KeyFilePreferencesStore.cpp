// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/KeyFilePreferencesStore.h"

#include "Platform/Linux/OwnerOnlyFile.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include <glib.h>

namespace quorrel {

namespace {

struct KeyFileFree final {
    void operator()(GKeyFile* file) const { g_key_file_free(file); }
};
using KeyFile = std::unique_ptr<GKeyFile, KeyFileFree>;

struct MemoryFree final {
    void operator()(char* memory) const { g_free(memory); }
    void operator()(char** list) const { g_strfreev(list); }
};
using Memory = std::unique_ptr<char, MemoryFree>;
using MemoryList = std::unique_ptr<char*, MemoryFree>;

constexpr const char* flags = "Flags";
constexpr const char* texts = "Texts";
constexpr const char* lists = "Lists";
constexpr std::array groups { flags, texts, lists };

constexpr std::size_t largestFile = std::size_t { 16 } << 20U;

const char* groupFor(const PreferenceValue& value) {
    return groups.at(value.index());
}

/// The file's content; null when it cannot be parsed.
KeyFile parsed(const std::string& bytes) {
    KeyFile file(g_key_file_new());
    constexpr auto keepAll = static_cast<GKeyFileFlags>(G_KEY_FILE_KEEP_COMMENTS | G_KEY_FILE_KEEP_TRANSLATIONS);
    if (bytes.empty())
        return file;
    if (!g_key_file_load_from_data(file.get(), bytes.data(), bytes.size(), keepAll, nullptr))
        return nullptr;
    return file;
}

std::optional<PreferenceValue> valueIn(GKeyFile* file, const char* group, const char* key) {
    if (group == flags) {
        GError* error = nullptr;
        const bool flag = g_key_file_get_boolean(file, group, key, &error) != 0;
        if (!error)
            return flag;
        g_error_free(error);
        return std::nullopt;
    }
    if (group == texts) {
        const Memory text(g_key_file_get_string(file, group, key, nullptr));
        return text ? std::optional<PreferenceValue>(std::string(text.get())) : std::nullopt;
    }
    gsize count = 0;
    const MemoryList list(g_key_file_get_string_list(file, group, key, &count, nullptr));
    if (!list)
        return std::nullopt;
    return std::vector<std::string>(list.get(), list.get() + count);
}

PreferenceValues valuesIn(GKeyFile* file) {
    PreferenceValues values;
    for (const char* group : groups) {
        gsize count = 0;
        const MemoryList keys(g_key_file_get_keys(file, group, &count, nullptr));
        for (gsize index = 0; keys && index < count; ++index)
            if (auto value = valueIn(file, group, keys.get()[index]))
                values.insert_or_assign(keys.get()[index], std::move(*value));
    }
    return values;
}

std::string textForFile(const std::string& text) {
    const Memory valid(g_utf8_make_valid(text.data(), static_cast<gssize>(text.size())));
    return valid.get();
}

bool isUsableKey(const std::string& key) {
    const auto isBad = [](char letter) {
        return letter == '=' || letter == '[' || letter == ']' || static_cast<unsigned char>(letter) < 0x20;
    };
    return !key.empty() && key.front() != ' ' && key.back() != ' ' && key.front() != '#'
        && std::none_of(key.begin(), key.end(), isBad)
        && g_utf8_validate(key.data(), static_cast<gssize>(key.size()), nullptr);
}

void put(GKeyFile* file, const std::string& key, const PreferenceValue& value) {
    const char* group = groupFor(value);
    for (const char* other : groups)
        if (other != group)
            g_key_file_remove_key(file, other, key.c_str(), nullptr);
    if (const auto* flag = std::get_if<bool>(&value)) {
        g_key_file_set_boolean(file, group, key.c_str(), *flag);
    } else if (const auto* text = std::get_if<std::string>(&value)) {
        g_key_file_set_string(file, group, key.c_str(), textForFile(*text).c_str());
    } else {
        std::vector<std::string> items;
        for (const auto& item : std::get<std::vector<std::string>>(value))
            items.push_back(textForFile(item));
        std::vector<const char*> pointers;
        pointers.reserve(items.size() + 1);
        for (const auto& item : items)
            pointers.push_back(item.c_str());
        pointers.push_back(nullptr);
        g_key_file_set_string_list(file, group, key.c_str(), pointers.data(), items.size());
    }
}

} // namespace

KeyFilePreferencesStore::KeyFilePreferencesStore(std::string path)
    : m_path(std::move(path)) { }

PreferenceValues KeyFilePreferencesStore::load() {
    const MutexLock lock(m_mutex);
    const auto content = OwnerOnlyFile::read(m_path, largestFile);
    const auto file = parsed(content.bytes);
    if (file && content.outcome == OwnerOnlyFile::Content::Outcome::Read)
        m_known = valuesIn(file.get());
    return m_known;
}

bool KeyFilePreferencesStore::save(const PreferenceValues& values) {
    const MutexLock lock(m_mutex);
    if (!std::all_of(values.begin(), values.end(), [](const auto& entry) { return isUsableKey(entry.first); }))
        return false;
    using Outcome = OwnerOnlyFile::Content::Outcome;
    const auto content = OwnerOnlyFile::read(m_path, largestFile);
    if (content.outcome == Outcome::Unreadable)
        return false;
    auto file = parsed(content.bytes);
    const bool startsAnew = content.outcome == Outcome::Missing || !file;
    if (!file) {
        if (OwnerOnlyFile::keepDamaged(m_path))
            return false;
        file.reset(g_key_file_new());
    }
    for (const auto& [key, value] : values)
        if (const auto old = m_known.find(key); startsAnew || old == m_known.end() || old->second != value)
            put(file.get(), key, value);
    for (const auto& [key, value] : m_known)
        if (!values.contains(key))
            g_key_file_remove_key(file.get(), groupFor(value), key.c_str(), nullptr);

    const auto slash = m_path.rfind('/');
    if (slash != std::string::npos && slash > 0 && OwnerOnlyFile::createFolders(m_path.substr(0, slash)))
        return false;
    gsize length = 0;
    const Memory bytes(g_key_file_to_data(file.get(), &length, nullptr));
    if (OwnerOnlyFile::replace(m_path, std::string_view(bytes.get(), length)))
        return false;
    m_known = values;
    return true;
}

} // namespace quorrel
