// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/GvfsMountList.h"

#include "Foundation/Text.h"
#include "Platform/Linux/GlibPointers.h"

#include <cstdlib>
#include <string>

namespace quorrel {

namespace {

std::string textOf(GVariant* value) {
    if (g_variant_is_of_type(value, G_VARIANT_TYPE_BYTESTRING))
        return g_variant_get_bytestring(value);
    return g_variant_is_of_type(value, G_VARIANT_TYPE_STRING) ? g_variant_get_string(value, nullptr) : std::string();
}

void readItem(const std::string& key, const std::string& value, GvfsMount& mount) {
    if (key == "type")
        mount.type = value;
    else if (key == "host" || key == "server")
        mount.host = value;
    else if (key == "share" || key == "volume")
        mount.share = value;
    else if (key == "user")
        mount.user = value;
    else if (key == "domain")
        mount.domain = value;
    else if (key == "port")
        mount.port = std::atoi(value.c_str());
    else if (key == "ssl")
        mount.isSecure = value == "true";
}

/// An address of the longer kind stands in brackets in some of the lists.
std::string withoutBrackets(const std::string& host) {
    return host.size() > 2 && host.front() == '[' && host.back() == ']' ? host.substr(1, host.size() - 2) : host;
}

GvfsMount readMount(GVariant* entry) {
    GvfsMount mount;
    const auto child = [entry](gsize index) { return GlibPointer<GVariant>(g_variant_get_child_value(entry, index)); };
    mount.busName = textOf(child(0).get());
    mount.objectPath = g_variant_get_string(child(1).get(), nullptr);
    mount.isUserVisible = g_variant_get_boolean(child(8).get()) != FALSE;
    mount.fusePath = textOf(child(9).get());
    const auto spec = child(10);
    mount.prefix
        = Text::withoutOuterSlashes(textOf(GlibPointer<GVariant>(g_variant_get_child_value(spec.get(), 0)).get()));
    const GlibPointer<GVariant> items(g_variant_get_child_value(spec.get(), 1));
    GVariantIter iterator;
    g_variant_iter_init(&iterator, items.get());
    const gchar* key = nullptr;
    GVariant* value = nullptr;
    while (g_variant_iter_next(&iterator, "{&sv}", &key, &value)) {
        const GlibPointer<GVariant> owned(value);
        readItem(key, textOf(value), mount);
    }
    mount.host = withoutBrackets(mount.host);
    return mount;
}

} // namespace

std::optional<std::vector<GvfsMount>> GvfsMountList::read(GVariant* reply) {
    if (!g_variant_is_of_type(reply, G_VARIANT_TYPE("(a(sossssssbay(aya{sv})ay))")))
        return std::nullopt;
    std::vector<GvfsMount> result;
    const GlibPointer<GVariant> list(g_variant_get_child_value(reply, 0));
    for (gsize index = 0; index < g_variant_n_children(list.get()); ++index)
        result.push_back(readMount(GlibPointer<GVariant>(g_variant_get_child_value(list.get(), index)).get()));
    return result;
}

std::optional<GvfsMount> GvfsMountList::readSignal(GVariant* parameters) {
    if (!g_variant_is_of_type(parameters, G_VARIANT_TYPE("((sossssssbay(aya{sv})ay))")))
        return std::nullopt;
    return readMount(GlibPointer<GVariant>(g_variant_get_child_value(parameters, 0)).get());
}

} // namespace quorrel
