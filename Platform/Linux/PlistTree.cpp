// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/PlistTree.h"

#include <array>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <utility>
#include <vector>

#include <glib.h>
#include <plist/plist.h>

namespace quorrel {

namespace {

struct Free final {
    void operator()(void* memory) const { std::free(memory); }
};
template <typename T>
using Memory = std::unique_ptr<T, Free>;

std::string textForXML(const std::string& text) {
    std::string result;
    result.reserve(text.size());
    const char* const end = text.data() + text.size();
    for (const char* at = text.data(); at != end;) {
        const gunichar letter = g_utf8_get_char_validated(at, end - at);
        const bool isValid = letter < 0x110000; // two larger values tell of an error
        const bool isControl = letter < 0x20 && letter != '\t' && letter != '\n' && letter != '\r';
        const auto length = isValid && letter != 0 ? g_utf8_next_char(at) - at : 1;
        if (isValid && !isControl && letter != 0xFFFE && letter != 0xFFFF)
            result.append(at, static_cast<std::size_t>(length));
        else
            result += "\xEF\xBF\xBD";
        at += length;
    }
    return result;
}

class Builder final {
public:
    explicit Builder(std::string& reason)
        : m_reason(reason) { }

    PlistTree build(const PropertyValue& value) {
        return std::visit([this](const auto& each) { return this->node(each); }, value.variant());
    }

private:
    static PlistTree node(bool flag) { return PlistTree(plist_new_bool(flag ? 1 : 0)); }
    static PlistTree node(std::int64_t number) { return PlistTree(plist_new_uint(static_cast<std::uint64_t>(number))); }
    static PlistTree node(double number) { return PlistTree(plist_new_real(number)); }
    static PlistTree node(const std::string& text) { return PlistTree(plist_new_string(textForXML(text).c_str())); }
    static PlistTree node(const PropertyValue::Data& data) {
        return PlistTree(plist_new_data(reinterpret_cast<const char*>(data.data()), data.size()));
    }

    PlistTree node(const PropertyValue::Array& array) {
        PlistTree result = enter(plist_new_array());
        for (const auto& item : array) {
            PlistTree child = result ? build(item) : nullptr;
            if (!child)
                return nullptr;
            plist_array_append_item(result.get(), child.release());
        }
        --m_depth;
        return result;
    }

    PlistTree node(const Dictionary& dictionary) {
        PlistTree result = enter(plist_new_dict());
        for (const auto& [key, item] : dictionary.entries()) {
            if (key.empty())
                m_reason = "A key is empty";
            PlistTree child = result && !key.empty() ? build(item) : nullptr;
            if (!child)
                return nullptr;
            plist_dict_set_item(result.get(), textForXML(key).c_str(), child.release());
        }
        --m_depth;
        return result;
    }

    PlistTree enter(plist_t container) {
        PlistTree result(container);
        if (++m_depth <= deepestPlist)
            return result;
        m_reason = "It is nested too deeply";
        return nullptr;
    }

    std::string& m_reason;
    std::size_t m_depth = 0;
};

std::string dateText(plist_t node) {
    std::int32_t seconds = 0;
    std::int32_t microseconds = 0;
    plist_get_date_val(node, &seconds, &microseconds);
    constexpr std::time_t epoch = 978307200; // 2001-01-01
    const std::time_t time = epoch + seconds;
    std::tm parts {};
    gmtime_r(&time, &parts);
    std::array<char, 40> text {};
    std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &parts);
    return text.data();
}

std::string keyText(plist_t node) {
    char* text = nullptr;
    plist_get_key_val(node, &text);
    const Memory<char> owner(text);
    return text ? text : "";
}

std::optional<PropertyValue> valueAt(plist_t node, std::size_t depth);

std::optional<PropertyValue> arrayAt(plist_t node, std::size_t depth) {
    PropertyValue::Array array;
    array.reserve(plist_array_get_size(node));
    plist_array_iter iterator = nullptr;
    plist_array_new_iter(node, &iterator);
    const Memory<void> owner(iterator);
    for (;;) {
        plist_t item = nullptr;
        plist_array_next_item(node, iterator, &item);
        if (!item)
            return PropertyValue(std::move(array));
        auto value = valueAt(item, depth);
        if (!value)
            return std::nullopt;
        array.push_back(std::move(*value));
    }
}

std::optional<PropertyValue> dictionaryAt(plist_t node, std::size_t depth) {
    std::vector<Dictionary::Entry> entries; // the library has made the keys distinct
    entries.reserve(plist_dict_get_size(node));
    plist_dict_iter iterator = nullptr;
    plist_dict_new_iter(node, &iterator);
    const Memory<void> owner(iterator);
    for (;;) {
        char* key = nullptr;
        plist_t item = nullptr;
        plist_dict_next_item(node, iterator, &key, &item);
        const Memory<char> keyOwner(key);
        if (!item || !key)
            return PropertyValue(Dictionary::withDistinctKeys(std::move(entries)));
        auto value = valueAt(item, depth);
        if (!value)
            return std::nullopt;
        entries.emplace_back(key, std::move(*value));
    }
}

std::optional<PropertyValue> scalarAt(plist_t node) {
    std::uint64_t number = 0;
    switch (plist_get_node_type(node)) {
    case PLIST_BOOLEAN: {
        std::uint8_t flag = 0;
        plist_get_bool_val(node, &flag);
        return PropertyValue(flag != 0);
    }
    case PLIST_UINT:
        plist_get_uint_val(node, &number);
        return PropertyValue(static_cast<std::int64_t>(number));
    case PLIST_UID:
        plist_get_uid_val(node, &number);
        return PropertyValue(static_cast<std::int64_t>(number));
    case PLIST_REAL: {
        double real = 0;
        plist_get_real_val(node, &real);
        return PropertyValue(real);
    }
    case PLIST_STRING: {
        const char* text = plist_get_string_ptr(node, &number);
        return PropertyValue(text ? std::string(text, number) : std::string());
    }
    case PLIST_KEY:
        return PropertyValue(keyText(node));
    case PLIST_DATE:
        return PropertyValue(dateText(node));
    case PLIST_DATA: {
        const auto* bytes = reinterpret_cast<const std::uint8_t*>(plist_get_data_ptr(node, &number));
        return PropertyValue(bytes ? PropertyValue::Data(bytes, bytes + number) : PropertyValue::Data());
    }
    default:
        return std::nullopt;
    }
}

std::optional<PropertyValue> valueAt(plist_t node, std::size_t depth) {
    const auto type = plist_get_node_type(node);
    if (type != PLIST_ARRAY && type != PLIST_DICT)
        return scalarAt(node);
    if (depth >= deepestPlist)
        return std::nullopt;
    return type == PLIST_ARRAY ? arrayAt(node, depth + 1) : dictionaryAt(node, depth + 1);
}

} // namespace

void PlistFree::operator()(void* root) const {
    plist_free(root);
}

PlistTree plistFromValue(const PropertyValue& value, std::string& reason) {
    return Builder(reason).build(value);
}

std::optional<PropertyValue> valueFromPlist(void* root) {
    return valueAt(root, 0);
}

} // namespace quorrel
