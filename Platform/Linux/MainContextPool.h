// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Mutex.h"
#include "Platform/Linux/GlibPointers.h"

#include <vector>

namespace quorrel {

/// GLib contexts for calls on workers, used again and again: there are never more than calls under way at once.
///
/// A call that was given up may keep a reference to its context for ever, or answer in it when nobody listens. In a
/// context of its own that would cost a descriptor each time; here the answer is taken in by whoever comes next. Any
/// thread. It must outlive whoever borrows of it.
class MainContextPool final {
public:
    [[nodiscard]] GlibPointer<GMainContext> take();
    void giveBack(GlibPointer<GMainContext> context);

private:
    Mutex m_mutex;
    std::vector<GlibPointer<GMainContext>> m_idle GUARDED_BY(m_mutex);
};

} // namespace quorrel
