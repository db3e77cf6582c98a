// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace quorrel {

class StatusBar;
class Timers;

/// Where a program shows its status item; both must outlive it.
struct StatusBarEnvironment final {
    StatusBar& statusBar;
    Timers& timers;
};

} // namespace quorrel
