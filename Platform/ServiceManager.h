// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace quorrel {

/// Who started the program as a service and wants to know how it is; maybe nobody. Any thread; never blocks for long.
class ServiceManager {
public:
    virtual ~ServiceManager() = default;

    /// It does its work: after the start, and after each reload.
    virtual void ready() = 0;
    virtual void reloading() = 0;
    virtual void stopping() = 0;
};

} // namespace quorrel
