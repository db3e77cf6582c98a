// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/QuorrelAppDelegate.h"

namespace quorrel {

void QuorrelAppDelegate::perform(Selector, const MenuItem&) { }

ActionState QuorrelAppDelegate::validate(Selector) const {
    return {};
}

} // namespace quorrel
