// SPDX-License-Identifier: GPL-3.0-or-later
#include "Foundation/Operation.h"

namespace quorrel {

Operation::~Operation() = default;

} // namespace quorrel
