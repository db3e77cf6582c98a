// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/SharePointDefinition.h"

#include "Foundation/Text.h"
#include "Sources/HostDefinition.h"
#include "Sources/ServiceDefinition.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace quorrel {

namespace {

std::string shown(const OptionalFlag& flag) {
    return flag ? (*flag ? "1" : "0") : "";
}

/// Whole seconds are written as the integer that other readers of the file expect.
std::optional<PropertyValue> numberValue(const std::optional<double>& number) {
    constexpr double largest = 9e15;
    if (!number)
        return std::nullopt;
    if (std::abs(*number) < largest && std::trunc(*number) == *number)
        return static_cast<std::int64_t>(*number);
    return *number;
}

} // namespace

SharePointDefinition::SharePointDefinition(CatalogueContextPointer context)
    : m_context(std::move(context)) {
    resetStatus();
    passwordPrompt.set(false);
    guestLogin.set(false);
    automatically.set(true);
    isDelayed.set(false);
}

std::shared_ptr<SharePointDefinition> SharePointDefinition::initWithParentHost(
    const std::shared_ptr<HostDefinition>& host) {
    auto result = std::make_shared<SharePointDefinition>(host->context());
    result->parentHost.set(host);
    result->favroite.set(false);
    result->isDelayed.set(std::nullopt);
    return result;
}

std::shared_ptr<SharePointDefinition> SharePointDefinition::initWithDictionary(
    const std::shared_ptr<HostDefinition>& host, const Dictionary& dictionary) {
    auto result = std::make_shared<SharePointDefinition>(host->context());
    result->parentHost.set(host);
    result->loadDictionary(dictionary);
    result->parentService.set(host->serviceForDisplayType(result->displayType.get()));
    return result;
}

void SharePointDefinition::setStatusText(std::string_view key) {
    status.set(m_context->strings.text(key));
}

void SharePointDefinition::setResolved(bool value) {
    resolved.assign(value);
    setStatusText(value ? localizable("Resolved") : localizable("Resolve Failed"));
}

void SharePointDefinition::setResolving(bool value) {
    resolving.assign(value);
    if (value)
        setStatusText("Resolving");
}

void SharePointDefinition::setMounting(bool value) {
    mounting.assign(value);
    if (value)
        setStatusText("Mounting");
    if (!resolved.get() && !mounting.get() && !mounted.get() && !resolving.get())
        setMounted(false);
}

void SharePointDefinition::setMounted(bool value) {
    mounted.assign(value);
    setStatusText(value ? localizable("Online") : localizable("Offline"));
}

void SharePointDefinition::setUnmounting(bool value) {
    unmounting.assign(value);
    if (value)
        setStatusText("Unmounting");
}

std::string SharePointDefinition::shownStatus() const {
    const auto& strings = m_context->strings;
    auto text = textOf(status.get());
    const bool isOver = (!unmounting.get() && text == strings.text("Unmounting"))
        || (!mounting.get() && text == strings.text("Mounting"))
        || (!resolving.get() && text == strings.text("Resolving"));
    return isOver ? strings.text(mounted.get() ? localizable("Online") : localizable("Offline")) : text;
}

void SharePointDefinition::setLastError(const OptionalText& error) {
    if (!error)
        isError.set(false);
    else if (!error->empty())
        isError.set(true);
    lastError.assign(error);
}

void SharePointDefinition::setDisplayType(const OptionalText& newDisplayType) {
    if (auto serverIcon = m_context->workspace.systemIcon(SystemIcon::GenericServer))
        icon.set(std::move(serverIcon));
    displayType.assign(newDisplayType);
}

void SharePointDefinition::setVolume(std::optional<int> reference, const std::string& path) {
    volumePath.set(path.empty() ? std::nullopt : OptionalText(path));
    referenceNumber.set(reference);
}

void SharePointDefinition::resetStatus() {
    setMounting(false);
    setUnmounting(false);
    status.set(std::string());
    setMounted(mounted.get());
}

std::string SharePointDefinition::description() const {
    return Text::filled("%@;%@;%@;%@;%@;%@;%@,%@,%@",
        { textOf(displayType.get()), textOf(sharePoint.get()), textOf(userName.get()), textOf(password.get()),
            shown(passwordPrompt.get()), shown(guestLogin.get()), textOf(script.get()),
            textOf(scriptArguments.get()) });
}

Dictionary SharePointDefinition::dictionary() const {
    constexpr std::size_t keys = 12;
    const bool guest = isSet(guestLogin.get());
    // At once, since every save makes these for a whole catalogue while the windows wait.
    std::vector<Dictionary::Entry> entries;
    entries.reserve(keys);
    const auto add = [&](const char* key, auto value) {
        if (value)
            entries.emplace_back(key, std::move(*value));
    };
    add("displayType", displayType.get());
    add("sharePoint", sharePoint.get());
    if (!guest)
        add("userName", userName.get());
    if (!guest && !isSet(passwordPrompt.get()))
        add("password", password.get());
    add("passwordPrompt", passwordPrompt.get());
    add("guestLogin", guestLogin.get());
    add("automatically", automatically.get());
    add("favroite", favroite.get());
    add("script", script.get());
    add("scriptArguments", scriptArguments.get());
    add("isDelayed", isDelayed.get());
    add("delaySeconds", numberValue(delaySeconds.get()));
    return Dictionary::withDistinctKeys(std::move(entries));
}

void SharePointDefinition::loadDictionary(const Dictionary& dictionary) {
    setDisplayType(dictionary.text("displayType"));
    sharePoint.set(dictionary.text("sharePoint"));
    userName.set(dictionary.text("userName"));
    password.set(dictionary.text("password"));
    passwordPrompt.set(dictionary.flag("passwordPrompt").value_or(false));
    guestLogin.set(dictionary.flag("guestLogin").value_or(false));
    automatically.set(dictionary.flag("automatically").value_or(true));
    favroite.set(dictionary.flag("favroite").value_or(false));
    script.set(dictionary.text("script"));
    scriptArguments.set(dictionary.text("scriptArguments"));
    isDelayed.set(dictionary.flag("isDelayed"));
    delaySeconds.set(dictionary.number("delaySeconds"));
}

} // namespace quorrel
