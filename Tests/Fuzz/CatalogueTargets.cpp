// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/PlistFile.h"
#include "Platform/Linux/PlistTree.h"
#include "Sources/HostDefinition.h"
#include "Sources/ServiceDefinition.h"
#include "Sources/SharePointDefinition.h"
#include "Tests/Fakes/FakeStringTable.h"
#include "Tests/Fakes/FakeWorkspace.h"
#include "Tests/Fuzz/FuzzInput.h"
#include "Tests/Fuzz/Targets.h"

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <plist/plist.h>

namespace quorrel::fuzz {

namespace {

using Hosts = std::vector<std::shared_ptr<HostDefinition>>;

Hosts hostsFrom(const PropertyValue& root) {
    static const FakeStringTable strings;
    static const FakeWorkspace workspace;
    static const auto context = std::make_shared<CatalogueContext>(CatalogueContext { strings, workspace });
    Hosts hosts;
    if (const auto* array = std::get_if<PropertyValue::Array>(&root.variant()))
        for (const auto& each : *array)
            if (const auto* dictionary = std::get_if<Dictionary>(&each.variant()))
                hosts.push_back(HostDefinition::initWithDictionary(*dictionary, context));
    return hosts;
}

void checkLinks(const Hosts& hosts) {
    for (const auto& host : hosts) {
        for (const auto& service : host->services.snapshot())
            require(service->parentHost.get().lock() == host, "a service knows its host");
        for (const auto& sharePoint : host->sharePoints.snapshot()) {
            require(sharePoint->parentHost.get().lock() == host, "a share point knows its host");
            require(
                sharePoint->parentService.get().lock() == host->serviceForDisplayType(sharePoint->displayType.get()),
                "a share point's service is the first of its kind");
            require(!sharePoint->mounted.get() && !sharePoint->mounting.get(), "nothing is mounted before it is");
        }
    }
}

/// The file that saving the hosts would make.
std::string saved(const Hosts& hosts) {
    PropertyValue::Array array;
    for (const auto& host : hosts)
        array.emplace_back(host->dictionary());
    std::string reason;
    auto xml = PlistFile::xml(PropertyValue(std::move(array)), reason);
    require(xml.has_value(), "every catalogue can be saved");
    return std::move(*xml);
}

/// Loads what a file held, saves it, loads that, and saves it again.
void reload(const PropertyValue& root) {
    const auto hosts = hostsFrom(root);
    checkLinks(hosts);
    const auto first = saved(hosts);
    const auto file = PlistFile::parse(first);
    require(file.root.has_value(), "what was saved can be read");
    const auto again = hostsFrom(*file.root);
    require(again.size() == hosts.size(), "no host is lost");
    for (std::size_t index = 0; index < hosts.size(); ++index) {
        require(again[index]->services.count() == hosts[index]->services.count(), "no service is lost");
        require(again[index]->sharePoints.count() == hosts[index]->sharePoints.count(), "no share point is lost");
    }
    require(saved(again) == first, "what was saved and read is saved the same again");
}

/// A property list from bytes that choose, so that most of them are catalogues and none is a syntax error.
class ValueMaker final {
public:
    explicit ValueMaker(std::string_view bytes)
        : m_input(bytes) { }

    PropertyValue catalogue() {
        PropertyValue::Array hosts;
        while (!m_input.isEmpty() && hosts.size() < 4)
            hosts.push_back(value(0, hostKeys));
        return hosts;
    }

private:
    static constexpr std::array<const char*, 8> hostKeys { "displayName", "computerModel", "hostName", "domain",
        "automatically", "services", "sharePoints", "other" };
    static constexpr std::array<const char*, 16> shareKeys { "displayType", "sharePoint", "userName", "password",
        "passwordPrompt", "guestLogin", "automatically", "favroite", "script", "scriptArguments", "isDelayed",
        "delaySeconds", "status", "mounted", "", "\xC3\xA4\xFF" };

    template <std::size_t count>
    PropertyValue value(int depth, const std::array<const char*, count>& keys) {
        constexpr int deepest = 6;
        switch (m_input.byte() % (depth < deepest ? 10 : 7)) {
        case 0:
            return m_input.byte() % 2 == 0;
        case 1:
            return static_cast<std::int64_t>(bits());
        case 2:
            return std::bit_cast<double>(bits());
        case 3:
            return PropertyValue::Data(m_input.byte() % 16, m_input.byte());
        case 4:
            return "Apple Filing Protocol (afp)";
        case 5:
        case 6:
            return m_input.part();
        case 7:
            return list(depth);
        default:
            return dictionary(depth, keys);
        }
    }

    template <std::size_t count>
    PropertyValue dictionary(int depth, const std::array<const char*, count>& keys) {
        Dictionary result;
        for (int left = m_input.byte() % 20; left > 0 && !m_input.isEmpty(); --left) {
            const std::string key = keys[m_input.byte() % keys.size()];
            if (key == "services" || key == "sharePoints")
                result.set(key, list(depth));
            else
                result.set(key, value(depth + 1, keys));
        }
        return result;
    }

    PropertyValue list(int depth) {
        PropertyValue::Array result;
        for (int left = m_input.byte() % 8; left > 0 && !m_input.isEmpty(); --left)
            result.push_back(value(depth + 1, shareKeys));
        return result;
    }

    std::uint64_t bits() {
        std::uint64_t result = 0;
        for (int left = 8; left > 0; --left)
            result = result << 8U | m_input.byte();
        return result;
    }

    FuzzInput m_input;
};

std::optional<PropertyValue> throughBinaryForm(const PropertyValue& root) {
    std::string reason;
    const auto tree = plistFromValue(root, reason);
    if (!tree)
        return std::nullopt;
    char* bytes = nullptr;
    std::uint32_t length = 0;
    plist_to_bin(tree.get(), &bytes, &length);
    const std::unique_ptr<char, void (*)(char*)> owner(bytes, &plist_to_bin_free);
    require(bytes != nullptr, "every tree has a binary form");
    auto file = PlistFile::parse({ bytes, length });
    require(file.root.has_value(), "a binary file that the library wrote can be read");
    return std::move(file.root);
}

} // namespace

void readCatalogue(std::string_view input) {
    const auto file = PlistFile::parse(input);
    require(file.root.has_value() == (file.outcome == PropertyListReadResult::Outcome::Read), "what was read is there");
    require(file.root.has_value() == file.reason.empty(), "what was not read has its reason");
    if (file.root)
        reload(*file.root);
}

void readRecords(std::string_view input) {
    const auto root = ValueMaker(input).catalogue();
    reload(root);
    if (const auto other = throughBinaryForm(root))
        require(saved(hostsFrom(*other)) == saved(hostsFrom(root)), "either form of a file holds the same catalogue");
}

} // namespace quorrel::fuzz
