// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/PropertyListAhead.h"

#include <exception>
#include <system_error>
#include <utility>

namespace quorrel {

PropertyListAhead::PropertyListAhead(PropertyListFile& files)
    : m_files(files) { }

PropertyListAhead::~PropertyListAhead() {
    finish();
}

void PropertyListAhead::begin(const std::string& path, std::function<void()> ready) {
    finish();
    m_path = path;
    m_result.reset();
    try {
        m_reader = std::thread([this, path, ready] {
            try {
                m_result = m_files.read(path);
            } catch (const std::exception&) {
                m_result.reset(); // whoever reads it later comes upon the same
            }
            ready();
        });
    } catch (const std::system_error&) {
        ready();
    }
}

PropertyListReadResult PropertyListAhead::read(const std::string& path) {
    finish();
    if (auto result = path == m_path ? std::exchange(m_result, std::nullopt) : std::nullopt)
        return std::move(*result);
    return m_files.read(path);
}

std::optional<std::string> PropertyListAhead::write(
    const std::string& path, const PropertyValue& root, const LastLook& lastLook) {
    finish();
    if (path == m_path)
        m_result.reset(); // of the past
    return m_files.write(path, root, lastLook);
}

std::optional<std::string> PropertyListAhead::keepDamaged(const std::string& path) {
    finish();
    if (path == m_path)
        m_result.reset();
    return m_files.keepDamaged(path);
}

void PropertyListAhead::finish() {
    if (m_reader.joinable())
        m_reader.join();
}

} // namespace quorrel
