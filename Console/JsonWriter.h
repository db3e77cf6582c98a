// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Console/ShareRow.h"
#include "Platform/RemoteShare.h"

#include <string>
#include <vector>

namespace quorrel {

/// Tells machines about shares.
class JsonWriter final {
public:
    JsonWriter() = delete;

    /// One array with an object for each share, with a line feed behind it. Keys: "host", "share", "service",
    /// "status", "mounted", "path" and "error", the last two null where there is none. Bytes that are not UTF-8 are
    /// replaced; controls, and what turns the direction of writing, are escapes.
    [[nodiscard]] static std::string text(const std::vector<ShareRow>& rows);
    /// One object on one line. Its keys besides: "id", and "state" with a word that is the same in every language.
    [[nodiscard]] static std::string line(const RemoteShare& share);
};

} // namespace quorrel
