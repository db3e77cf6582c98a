// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Integration/AvahiPublisher.h"

#include "Tests/Platform/GlibTurns.h"

#include <avahi-client/client.h>
#include <avahi-client/publish.h>
#include <avahi-common/error.h>
#include <avahi-common/strlst.h>

#include <gtest/gtest.h>

namespace quorrel {

void AvahiPublisher::Deleter::operator()(AvahiEntryGroup* group) const {
    avahi_entry_group_free(group);
}

AvahiPublisher::AvahiPublisher()
    : m_connectionChanges(m_connection.observe([this](AvahiClient* client) {
        if (!client)
            m_groups.clear();
    })) { }

AvahiPublisher::~AvahiPublisher() = default;

void AvahiPublisher::publish(
    const std::string& name, const std::string& type, const std::vector<std::string>& strings, int interface) {
    // A daemon that was just started is not on the bus at once.
    ASSERT_TRUE(runMainContextUntil([this] { return m_connection.client() != nullptr; }, Seconds(10)))
        << m_connection.failure();
    auto* client = m_connection.client();
    AvahiStringList* list = nullptr;
    for (const auto& each : strings)
        list = avahi_string_list_add(list, each.c_str());
    auto& group = m_groups[{ name, type, interface }];
    int error = AVAHI_OK;
    if (group) {
        error = avahi_entry_group_update_service_txt_strlst(group.get(), interface, AVAHI_PROTO_UNSPEC,
            AvahiPublishFlags {}, name.c_str(), type.c_str(), nullptr, list);
    } else {
        group.reset(avahi_entry_group_new(
            client, [](AvahiEntryGroup*, AvahiEntryGroupState, void*) {}, nullptr));
        ASSERT_TRUE(group) << avahi_strerror(avahi_client_errno(client));
        error = avahi_entry_group_add_service_strlst(group.get(), interface, AVAHI_PROTO_UNSPEC, AvahiPublishFlags {},
            name.c_str(), type.c_str(), nullptr, nullptr, 548, list);
        if (error == AVAHI_OK)
            error = avahi_entry_group_commit(group.get());
    }
    avahi_string_list_free(list);
    EXPECT_EQ(error, AVAHI_OK) << name << ": " << avahi_strerror(error);
}

void AvahiPublisher::withdraw(const std::string& name, const std::string& type, int interface) {
    EXPECT_EQ(m_groups.erase({ name, type, interface }), 1U);
}

} // namespace quorrel
