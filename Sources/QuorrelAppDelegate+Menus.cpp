// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/QuorrelAppDelegate.h"

namespace quorrel {

void QuorrelAppDelegate::makeMountpopMenu() {
    if (auto* builder = m_environment.parts.menuBuilder())
        builder->makeMountMenus(hosts.snapshot());
    makeFavroitesMenu();
}

void QuorrelAppDelegate::makeFavroitesMenu() {
    if (auto* builder = m_environment.parts.menuBuilder())
        builder->makeFavouritesSection(hosts.snapshot());
}

} // namespace quorrel
