// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/QuorrelAppDelegate.h"

namespace quorrel {

void QuorrelAppDelegate::makeMountpopMenu() {
    makeFavroitesMenu();
}

void QuorrelAppDelegate::makeFavroitesMenu() { }

} // namespace quorrel
