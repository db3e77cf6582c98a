// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/LoginItem.h"

#include <utility>

namespace quorrel {

LoginItem::LoginItem(LoginItems& loginItems, std::string applicationPath)
    : m_loginItems(loginItems)
    , m_applicationPath(std::move(applicationPath)) { }

} // namespace quorrel
