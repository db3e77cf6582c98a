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
    // Under the empty key is the table's own header, and a zero byte would end the key early.
    if (key.empty() || key.find('\0') != std::string_view::npos)
        return std::string(key);
    const std::string terminated(key);
    return dgettext(tableName, terminated.c_str());
}

} // namespace quorrel
