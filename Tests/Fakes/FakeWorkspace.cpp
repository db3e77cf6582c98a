// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Fakes/FakeWorkspace.h"

#include <regex>
#include <utility>

namespace quorrel {

namespace {

std::string parentOf(const std::string& path) {
    const auto slash = path.rfind('/');
    return slash == 0 || slash == std::string::npos ? "/" : path.substr(0, slash);
}

} // namespace

FakeWorkspace::FakeWorkspace()
    : m_declarations { { "public.generic-pc", { "generic-pc", std::nullopt, "/icons" } },
        { "com.apple.mac", { "mac", std::nullopt, "/icons" } } }
    , m_images { "/icons/Contents/Resources/generic-pc", "/icons/Contents/Resources/mac" }
    , m_systemIcons { { SystemIcon::GenericServer, { "server" } }, { SystemIcon::MusicPlayer, { "music-player" } },
        { SystemIcon::Phone, { "phone" } } } { }

std::string FakeWorkspace::computerName() const {
    const std::lock_guard lock(m_mutex);
    return m_computerName;
}

std::optional<std::string> FakeWorkspace::applicationSupportDirectory() const {
    const std::lock_guard lock(m_mutex);
    return m_supportDirectory;
}

std::string FakeWorkspace::temporaryDirectory() const {
    const std::lock_guard lock(m_mutex);
    return m_temporaryDirectory;
}

bool FakeWorkspace::exists(const std::string& path) const {
    const std::lock_guard lock(m_mutex);
    return m_paths.contains(path);
}

bool FakeWorkspace::createDirectory(const std::string& path) {
    const std::lock_guard lock(m_mutex);
    if (m_createFails || m_paths.contains(path) || !m_paths.contains(parentOf(path)))
        return false;
    m_paths.insert(path);
    m_created.push_back(path);
    return true;
}

bool FakeWorkspace::openURL(const std::string& url) {
    const bool isURL = std::regex_match(url, std::regex("[A-Za-z][A-Za-z0-9+.-]*:.*"));
    const std::lock_guard lock(m_mutex);
    if (m_openFails || url.find('\0') != std::string::npos || (!isURL && !url.starts_with('/')))
        return false;
    m_opened.push_back(url);
    return true;
}

std::vector<std::string> FakeWorkspace::openedURLs() const {
    const std::lock_guard lock(m_mutex);
    return m_opened;
}

void FakeWorkspace::failOpenURL(bool fails) {
    const std::lock_guard lock(m_mutex);
    m_openFails = fails;
}

std::string FakeWorkspace::typeIdentifierForModelCode(const std::string& modelCode) const {
    const std::lock_guard lock(m_mutex);
    const auto found = m_identifiers.find(modelCode);
    return found == m_identifiers.end() ? "dyn." + modelCode : found->second;
}

std::optional<TypeDeclaration> FakeWorkspace::typeDeclaration(const std::string& identifier) const {
    const std::lock_guard lock(m_mutex);
    const auto found = m_declarations.find(identifier);
    return found == m_declarations.end() ? std::nullopt : std::optional(found->second);
}

std::optional<Image> FakeWorkspace::imageAtPath(const std::string& path) const {
    const std::lock_guard lock(m_mutex);
    return m_images.contains(path) ? std::optional(Image { path }) : std::nullopt;
}

std::optional<Image> FakeWorkspace::systemIcon(SystemIcon icon) const {
    const std::lock_guard lock(m_mutex);
    const auto found = m_systemIcons.find(icon);
    return found == m_systemIcons.end() ? std::nullopt : std::optional(found->second);
}

void FakeWorkspace::setComputerName(std::string name) {
    const std::lock_guard lock(m_mutex);
    m_computerName = std::move(name);
}

void FakeWorkspace::setApplicationSupportDirectory(std::optional<std::string> path) {
    const std::lock_guard lock(m_mutex);
    m_supportDirectory = std::move(path);
}

void FakeWorkspace::setTemporaryDirectory(std::string path) {
    const std::lock_guard lock(m_mutex);
    m_temporaryDirectory = std::move(path);
}

void FakeWorkspace::addPath(const std::string& path) {
    const std::lock_guard lock(m_mutex);
    m_paths.insert(path);
}

void FakeWorkspace::failCreateDirectory(bool fails) {
    const std::lock_guard lock(m_mutex);
    m_createFails = fails;
}

void FakeWorkspace::setTypeIdentifier(const std::string& modelCode, std::string identifier) {
    const std::lock_guard lock(m_mutex);
    m_identifiers[modelCode] = std::move(identifier);
}

void FakeWorkspace::setTypeDeclaration(const std::string& identifier, std::optional<TypeDeclaration> declaration) {
    const std::lock_guard lock(m_mutex);
    if (declaration)
        m_declarations[identifier] = std::move(*declaration);
    else
        m_declarations.erase(identifier);
}

void FakeWorkspace::addImage(const std::string& path) {
    const std::lock_guard lock(m_mutex);
    m_images.insert(path);
}

void FakeWorkspace::removeImage(const std::string& path) {
    const std::lock_guard lock(m_mutex);
    m_images.erase(path);
}

void FakeWorkspace::setSystemIcon(SystemIcon icon, std::optional<Image> image) {
    const std::lock_guard lock(m_mutex);
    if (image)
        m_systemIcons[icon] = std::move(*image);
    else
        m_systemIcons.erase(icon);
}

std::vector<std::string> FakeWorkspace::createdDirectories() const {
    const std::lock_guard lock(m_mutex);
    return m_created;
}

} // namespace quorrel
