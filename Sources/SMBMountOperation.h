// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Sources/MounterDifferences.h"
#include "Sources/MounterOf.h"

namespace quorrel {

/// Mounts shares of SMB servers, under either of the names that the protocol goes by.
using SMBMountOperation = MounterOf<smbDifferences>;

} // namespace quorrel
