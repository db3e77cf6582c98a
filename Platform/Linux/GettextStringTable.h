// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/StringTable.h"

#include <string>

namespace quorrel {

/// The table "Quorrel" in the language of the process's locale, which the entry point has set. Any thread.
///
/// The folder holding LANGUAGE/LC_MESSAGES/Quorrel.mo belongs to the process: a second table's folder replaces the
/// first's.
class GettextStringTable final : public StringTable {
public:
    explicit GettextStringTable(const std::string& folder);

    [[nodiscard]] std::string text(std::string_view key) const override;
};

} // namespace quorrel
