// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Fakes/FakePropertyListFile.h"

#include <chrono>
#include <utility>

namespace quorrel {

PropertyListReadResult FakePropertyListFile::read(const std::string& path) {
    using Outcome = PropertyListReadResult::Outcome;
    const std::lock_guard lock(m_mutex);
    if (const auto broken = m_unreadable.find(path); broken != m_unreadable.end())
        return { Outcome::Unreadable, std::nullopt, broken->second };
    const auto found = m_files.find(path);
    if (found == m_files.end())
        return { Outcome::Missing, std::nullopt, "No such file or directory" };
    if (!found->second.root)
        return { Outcome::Malformed, std::nullopt, found->second.reason };
    return { Outcome::Read, found->second.root, {} };
}

std::optional<std::string> FakePropertyListFile::write(
    const std::string& path, const PropertyValue& root, const LastLook& lastLook) {
    {
        std::unique_lock lock(m_mutex);
        ++m_heldWrites;
        m_changed.notify_all();
        m_changed.wait(lock, [this] { return !m_isHolding; });
        --m_heldWrites;
        if (m_writeFailure)
            return m_writeFailure;
    }
    if (auto reason = lastLook ? lastLook(path + ".new") : std::nullopt)
        return reason;
    const std::lock_guard lock(m_mutex);
    m_files[path] = { root, {} };
    ++m_writes;
    return std::nullopt;
}

std::optional<std::string> FakePropertyListFile::keepDamaged(const std::string& path) {
    const std::lock_guard lock(m_mutex);
    if (m_keepFailure)
        return m_keepFailure;
    const auto file = m_files.find(path);
    if (file == m_files.end())
        return std::nullopt;
    std::string name = path + ".damaged";
    for (int number = 2; m_files.contains(name); ++number)
        name = path + ".damaged-" + std::to_string(number);
    m_files[name] = file->second;
    return std::nullopt;
}

void FakePropertyListFile::put(const std::string& path, PropertyValue root) {
    const std::lock_guard lock(m_mutex);
    m_files[path] = { std::move(root), {} };
}

void FakePropertyListFile::putMalformed(const std::string& path, std::string reason) {
    const std::lock_guard lock(m_mutex);
    m_files[path] = { std::nullopt, std::move(reason) };
}

void FakePropertyListFile::failReads(const std::string& path, std::optional<std::string> reason) {
    const std::lock_guard lock(m_mutex);
    if (reason)
        m_unreadable[path] = std::move(*reason);
    else
        m_unreadable.erase(path);
}

void FakePropertyListFile::failWrites(std::optional<std::string> reason) {
    const std::lock_guard lock(m_mutex);
    m_writeFailure = std::move(reason);
}

void FakePropertyListFile::failKeepDamaged(std::optional<std::string> reason) {
    const std::lock_guard lock(m_mutex);
    m_keepFailure = std::move(reason);
}

void FakePropertyListFile::holdWrites() {
    const std::lock_guard lock(m_mutex);
    m_isHolding = true;
}

void FakePropertyListFile::releaseWrites() {
    const std::lock_guard lock(m_mutex);
    m_isHolding = false;
    m_changed.notify_all();
}

bool FakePropertyListFile::waitForHeldWrite() {
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, std::chrono::seconds(30), [this] { return m_isHolding && m_heldWrites > 0; });
}

std::optional<PropertyValue> FakePropertyListFile::content(const std::string& path) const {
    const std::lock_guard lock(m_mutex);
    const auto found = m_files.find(path);
    return found == m_files.end() ? std::nullopt : found->second.root;
}

bool FakePropertyListFile::exists(const std::string& path) const {
    const std::lock_guard lock(m_mutex);
    return m_files.contains(path);
}

int FakePropertyListFile::writeCount() const {
    const std::lock_guard lock(m_mutex);
    return m_writes;
}

} // namespace quorrel
