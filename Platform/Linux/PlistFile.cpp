// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/PlistFile.h"

#include "Platform/Linux/BinaryPlistBounds.h"
#include "Platform/Linux/OwnerOnlyFile.h"
#include "Platform/Linux/PlistTree.h"
#include "Platform/Linux/XMLPlistBounds.h"

#include <cstddef>
#include <cstdint>
#include <utility>

#include <locale.h>
#include <plist/plist.h>

namespace quorrel {

namespace {

using Outcome = PropertyListReadResult::Outcome;

/// Two hundred thousand share points and more.
constexpr std::size_t largestFile = std::size_t { 256 } << 20U;

/// Numbers are read and written with a decimal point on this thread, whatever the user's language.
class PlainNumbers final {
public:
    PlainNumbers()
        : m_plain(newlocale(LC_ALL_MASK, "C", nullptr))
        , m_before(m_plain ? uselocale(m_plain) : nullptr) { }
    PlainNumbers(const PlainNumbers&) = delete;
    PlainNumbers& operator=(const PlainNumbers&) = delete;
    ~PlainNumbers() {
        if (!m_plain)
            return;
        uselocale(m_before);
        freelocale(m_plain);
    }

private:
    const locale_t m_plain;
    const locale_t m_before;
};

PropertyListReadResult malformed(std::string reason) {
    return { Outcome::Malformed, std::nullopt, std::move(reason) };
}

/// A reader of XML takes a bare carriage return for a line feed. The library never writes one of its own.
std::string withEscapedReturns(std::string_view xml) {
    std::string result;
    result.reserve(xml.size());
    for (const char letter : xml)
        if (letter == '\r')
            result += "&#13;";
        else
            result += letter;
    return result;
}

} // namespace

PropertyListReadResult PlistFile::read(const std::string& path) {
    const auto content = OwnerOnlyFile::read(path, largestFile);
    switch (content.outcome) {
    case OwnerOnlyFile::Content::Outcome::Missing:
        return { Outcome::Missing, std::nullopt, content.reason };
    case OwnerOnlyFile::Content::Outcome::Unreadable:
        return { Outcome::Unreadable, std::nullopt, content.reason };
    case OwnerOnlyFile::Content::Outcome::Read:
        break;
    }
    return parse(content.bytes);
}

PropertyListReadResult PlistFile::parse(std::string_view bytes) {
    constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
    if (bytes.starts_with(byteOrderMark))
        bytes.remove_prefix(byteOrderMark.size());
    if (bytes.size() > largestFile)
        return malformed("It is too large");
    const auto refusal
        = isBinaryPlist(bytes) ? binaryPlistRefusal(bytes, deepestPlist) : xmlPlistRefusal(bytes, deepestPlist);
    if (refusal)
        return malformed(*refusal);
    const auto divided = isBinaryPlist(bytes) ? std::nullopt : xmlPlistWithDividedTexts(bytes);
    if (divided)
        bytes = *divided;
    const PlainNumbers plainNumbers;
    plist_t root = nullptr;
    plist_from_memory(bytes.data(), static_cast<std::uint32_t>(bytes.size()), &root);
    const PlistTree tree(root);
    if (!tree)
        return malformed("It is not a property list");
    auto value = valueFromPlist(tree.get());
    if (!value)
        return malformed("It is nested too deeply");
    return { Outcome::Read, std::move(value), {} };
}

std::optional<std::string> PlistFile::write(
    const std::string& path, const PropertyValue& root, const LastLook& lastLook) {
    std::string reason;
    const auto text = xml(root, reason);
    return text ? OwnerOnlyFile::replace(path, *text, lastLook) : reason;
}

std::optional<std::string> PlistFile::xml(const PropertyValue& root, std::string& reason) {
    const PlainNumbers plainNumbers;
    const auto tree = plistFromValue(root, reason);
    if (!tree)
        return std::nullopt;
    char* text = nullptr;
    std::uint32_t length = 0;
    plist_to_xml(tree.get(), &text, &length);
    const std::unique_ptr<char, void (*)(char*)> owner(text, &plist_to_xml_free);
    if (!text) {
        reason = "It could not be put into XML";
        return std::nullopt;
    }
    return withEscapedReturns({ text, length });
}

std::optional<std::string> PlistFile::keepDamaged(const std::string& path) {
    return OwnerOnlyFile::keepDamaged(path);
}

} // namespace quorrel
