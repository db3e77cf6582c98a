// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/PropertyListFile.h"

#include <functional>
#include <optional>
#include <string>
#include <thread>

namespace quorrel {

/// Reads one file on a thread of its own before it is needed: a large catalogue takes the parser a fifth of a second,
/// and the main thread has a tray icon to show meanwhile. All else passes through. One thread at a time.
class PropertyListAhead final : public PropertyListFile {
public:
    /// The files must outlive the object; they are read from on both threads, though never at once.
    explicit PropertyListAhead(PropertyListFile& files);
    PropertyListAhead(const PropertyListAhead&) = delete;
    PropertyListAhead& operator=(const PropertyListAhead&) = delete;
    /// Waits for what is being read.
    ~PropertyListAhead() override;

    /// Calls `ready` from the other thread once the file has been read; at once where no thread is to be had. Whatever
    /// is called before that waits for it.
    void begin(const std::string& path, std::function<void()> ready);

    /// What was read ahead, once; the file as it is now after that.
    [[nodiscard]] PropertyListReadResult read(const std::string& path) override;
    using PropertyListFile::write;
    [[nodiscard]] std::optional<std::string> write(
        const std::string& path, const PropertyValue& root, const LastLook& lastLook) override;
    [[nodiscard]] std::optional<std::string> keepDamaged(const std::string& path) override;

private:
    void finish();

    PropertyListFile& m_files;
    std::string m_path;
    std::optional<PropertyListReadResult> m_result; // the other thread's until it is joined
    std::thread m_reader;
};

} // namespace quorrel
