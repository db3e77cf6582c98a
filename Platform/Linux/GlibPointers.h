// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <gio/gio.h>

#include <memory>

namespace quorrel {

/// Owners of GLib's things.
struct GlibDeleter final {
    void operator()(GError* error) const { g_error_free(error); }
    void operator()(GVariant* variant) const { g_variant_unref(variant); }
    void operator()(GVariantIter* iterator) const { g_variant_iter_free(iterator); }
    void operator()(GMainContext* context) const { g_main_context_unref(context); }
    void operator()(GSource* source) const {
        g_source_destroy(source);
        g_source_unref(source);
    }
    void operator()(gchar* text) const { g_free(text); }
};

struct GObjectDeleter final {
    void operator()(void* object) const { g_object_unref(object); }
};

template <typename T>
using GlibPointer = std::unique_ptr<T, GlibDeleter>;

template <typename T>
using GObjectPointer = std::unique_ptr<T, GObjectDeleter>;

} // namespace quorrel
