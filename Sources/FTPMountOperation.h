// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Sources/MounterDifferences.h"
#include "Sources/MounterOf.h"

namespace quorrel {

/// Mounts folders of FTP servers.
using FTPMountOperation = MounterOf<ftpDifferences>;

} // namespace quorrel
