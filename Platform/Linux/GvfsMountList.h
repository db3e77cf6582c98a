// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Linux/GvfsMount.h"

#include <optional>
#include <vector>

typedef struct _GVariant GVariant; // NOLINT(modernize-use-using,bugprone-reserved-identifier): as GLib has it

namespace quorrel {

/// How gvfs's daemon tells of mounts over the session bus. Any thread.
namespace GvfsMountList {

constexpr auto daemonName = "org.gtk.vfs.Daemon";
constexpr auto trackerPath = "/org/gtk/vfs/mounttracker";
constexpr auto trackerInterface = "org.gtk.vfs.MountTracker";

/// From the reply to "ListMounts"; absent when it is none.
[[nodiscard]] std::optional<std::vector<GvfsMount>> read(GVariant* reply);
/// From the signals "Mounted" and "Unmounted"; absent when it is neither.
[[nodiscard]] std::optional<GvfsMount> readSignal(GVariant* parameters);

} // namespace GvfsMountList

} // namespace quorrel
