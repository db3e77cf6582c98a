// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/GettextStringTable.h"

#include <libintl.h>

namespace quorrel {

namespace {

constexpr const char* tableName = "Quorrel";

} // namespace

GettextStringTable::GettextStringTable(const std::string& folder) {
    bindtextdomain(tableName, folder.c_str());
    bind_textdomain_codeset(tableName, "UTF-8");
}

std::string GettextStringTable::text(std::string_view key) const {
    if (key.empty())
        return {}; // under the empty key is the table's own header
    const std::string terminated(key);
    const char* text = dgettext(tableName, terminated.c_str());
    return text == terminated.c_str() ? terminated : std::string(text);
}

} // namespace quorrel
