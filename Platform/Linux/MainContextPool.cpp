// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/MainContextPool.h"

#include <utility>

namespace quorrel {

GlibPointer<GMainContext> MainContextPool::take() {
    const MutexLock lock(m_mutex);
    if (m_idle.empty())
        return GlibPointer<GMainContext>(g_main_context_new());
    auto context = std::move(m_idle.back());
    m_idle.pop_back();
    return context;
}

void MainContextPool::giveBack(GlibPointer<GMainContext> context) {
    const MutexLock lock(m_mutex);
    m_idle.push_back(std::move(context));
}

} // namespace quorrel
