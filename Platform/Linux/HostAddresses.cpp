// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/HostAddresses.h"

namespace quorrel {

std::vector<InternetAddress> HostAddresses::lookUp(BoundedLoop& loop, const std::string& name, Seconds limit) {
    std::vector<InternetAddress> found;
    const GObjectPointer<GResolver> resolver(g_resolver_get_default());
    const auto result = loop.await(
        [&](GCancellable* cancellable, GAsyncReadyCallback callback, gpointer data) {
            g_resolver_lookup_by_name_async(resolver.get(), name.c_str(), cancellable, callback, data);
        },
        limit);
    if (!result)
        return found;
    GList* addresses = g_resolver_lookup_by_name_finish(resolver.get(), result.get(), nullptr);
    for (GList* item = addresses; item; item = item->next) {
        const GlibPointer<gchar> text(g_inet_address_to_string(G_INET_ADDRESS(item->data)));
        if (const auto address = InternetAddress::parse(text.get()))
            found.push_back(*address);
    }
    g_resolver_free_addresses(addresses);
    return found;
}

} // namespace quorrel
