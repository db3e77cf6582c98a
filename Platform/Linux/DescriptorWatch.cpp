// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/DescriptorWatch.h"

#include <glib-unix.h>

#include <utility>

namespace quorrel {

struct DescriptorWatch::Callbacks final {
    static gboolean fire(gint, GIOCondition, gpointer watch) noexcept {
        const auto action = static_cast<DescriptorWatch*>(watch)->m_action; // outlives the watch
        action();
        return G_SOURCE_CONTINUE;
    }

    static GIOCondition conditionOf(Event event) {
        int condition = G_IO_PRI | G_IO_ERR;
        if (event == Event::Readable)
            condition = G_IO_IN | G_IO_HUP | G_IO_ERR;
        else if (event == Event::Writable)
            condition = G_IO_OUT | G_IO_HUP | G_IO_ERR;
        return static_cast<GIOCondition>(condition);
    }
};

DescriptorWatch::DescriptorWatch(int descriptor, Event event, std::function<void()> action)
    : m_action(std::move(action))
    , m_source(g_unix_fd_add(descriptor, Callbacks::conditionOf(event), &Callbacks::fire, this)) { }

DescriptorWatch::~DescriptorWatch() {
    g_source_remove(m_source);
}

} // namespace quorrel
