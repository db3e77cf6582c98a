// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <stdexcept>
#include <string>

namespace quorrel {

/// A caller did what it must not; the text says what, and the source path where that was noticed.
class AssertionFailure final : public std::logic_error {
public:
    /// The source path must be a literal.
    AssertionFailure(const char* sourcePath, const std::string& text)
        : std::logic_error(text)
        , m_sourcePath(sourcePath) { }

    [[nodiscard]] const char* sourcePath() const noexcept { return m_sourcePath; }

private:
    const char* m_sourcePath;
};

} // namespace quorrel
