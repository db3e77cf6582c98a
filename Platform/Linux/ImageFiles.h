// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Mutex.h"

#include <functional>
#include <map>
#include <string>

namespace quorrel {

/// Knows which files are pictures, and looks at each once: a catalogue asks for the same few again for every share
/// point. Any thread.
class ImageFiles final {
public:
    /// Whether a readable PNG file is, or was, at that path.
    [[nodiscard]] bool contain(const std::string& path) const;

private:
    mutable Mutex m_mutex;
    mutable std::map<std::string, bool, std::less<>> m_known GUARDED_BY(m_mutex);
};

} // namespace quorrel
