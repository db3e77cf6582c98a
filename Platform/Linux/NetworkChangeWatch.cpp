// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/NetworkChangeWatch.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

#include <glib-unix.h>
#include <linux/rtnetlink.h>
#include <net/if.h>
#include <sys/socket.h>
#include <unistd.h>

namespace quorrel {

namespace {

constexpr unsigned groupBit(unsigned group) {
    return 1U << (group - 1);
}

constexpr unsigned groups = groupBit(RTNLGRP_LINK) | groupBit(RTNLGRP_IPV4_IFADDR) | groupBit(RTNLGRP_IPV6_IFADDR)
    | groupBit(RTNLGRP_IPV4_ROUTE) | groupBit(RTNLGRP_IPV6_ROUTE) | groupBit(RTNLGRP_IPV4_RULE)
    | groupBit(RTNLGRP_IPV6_RULE);
constexpr int readsPerTurn = 64;

FileDescriptor openKernel() {
    FileDescriptor kernel(::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_ROUTE));
    sockaddr_nl place {};
    place.nl_family = AF_NETLINK;
    place.nl_groups = groups;
    if (kernel.isOpen() && ::bind(kernel.get(), reinterpret_cast<const sockaddr*>(&place), sizeof place) != 0)
        kernel.close();
    return kernel;
}

bool isRouteOfInterest(const nlmsghdr& message) {
    if (message.nlmsg_len < NLMSG_LENGTH(sizeof(rtmsg)))
        return false;
    const auto& route = *static_cast<const rtmsg*>(NLMSG_DATA(&message));
    // Those of the local table come with their addresses, and a cloned one with each packet.
    return (route.rtm_flags & RTM_F_CLONED) == 0 && route.rtm_table != RT_TABLE_LOCAL;
}

} // namespace

NetworkChangeWatch::NetworkChangeWatch(std::function<void()> changed)
    : m_changed(std::move(changed))
    , m_kernel(openKernel()) {
    if (m_kernel.isOpen())
        m_source = g_unix_fd_add(
            m_kernel.get(), static_cast<GIOCondition>(G_IO_IN | G_IO_ERR),
            [](int descriptor, GIOCondition condition, void* watch) -> gboolean {
                return heard(descriptor, condition, watch);
            },
            this);
}

NetworkChangeWatch::~NetworkChangeWatch() {
    if (m_source != 0)
        g_source_remove(m_source);
}

int NetworkChangeWatch::heard(int, int, void* data) noexcept {
    auto& watch = *static_cast<NetworkChangeWatch*>(data);
    if (watch.read())
        watch.m_changed();
    return G_SOURCE_CONTINUE;
}

bool NetworkChangeWatch::read() {
    alignas(nlmsghdr) std::array<char, 32768> buffer {};
    bool isChanged = false;
    for (int reads = 0; reads < readsPerTurn; ++reads) {
        sockaddr_nl sender {};
        socklen_t senderSize = sizeof sender;
        const auto size = ::recvfrom(
            m_kernel.get(), buffer.data(), buffer.size(), 0, reinterpret_cast<sockaddr*>(&sender), &senderSize);
        if (size < 0 && errno == EINTR)
            continue;
        if (size < 0 && errno == ENOBUFS) {
            // Something was lost, and what was known of the rest with it.
            m_links.clear();
            m_addresses.clear();
            isChanged = true;
            continue;
        }
        if (size <= 0)
            break;
        if (sender.nl_pid != 0)
            continue; // not the kernel
        auto left = static_cast<unsigned>(size);
        for (const auto* message = reinterpret_cast<const nlmsghdr*>(buffer.data()); NLMSG_OK(message, left);
             message = NLMSG_NEXT(message, left))
            isChanged = isChange(*message) || isChanged;
    }
    return isChanged;
}

bool NetworkChangeWatch::isChange(const nlmsghdr& message) {
    switch (message.nlmsg_type) {
    case RTM_NEWLINK:
    case RTM_DELLINK:
        return isLinkChange(message);
    case RTM_NEWADDR:
    case RTM_DELADDR:
        return isAddressChange(message);
    case RTM_NEWROUTE:
    case RTM_DELROUTE:
        return isRouteOfInterest(message);
    case RTM_NEWRULE:
    case RTM_DELRULE:
        return true;
    default:
        return false;
    }
}

bool NetworkChangeWatch::isLinkChange(const nlmsghdr& message) {
    if (message.nlmsg_len < NLMSG_LENGTH(sizeof(ifinfomsg)))
        return false;
    const auto& link = *static_cast<const ifinfomsg*>(NLMSG_DATA(&message));
    if (link.ifi_family != AF_UNSPEC)
        return false; // a bridge telling of its ports
    if (message.nlmsg_type == RTM_DELLINK) {
        m_links.erase(link.ifi_index);
        return true;
    }
    const unsigned flags = link.ifi_flags & (IFF_UP | IFF_RUNNING);
    const auto [known, isNew] = m_links.try_emplace(link.ifi_index, flags);
    return isNew || std::exchange(known->second, flags) != flags;
}

bool NetworkChangeWatch::isAddressChange(const nlmsghdr& message) {
    if (message.nlmsg_len < NLMSG_LENGTH(sizeof(ifaddrmsg)))
        return false;
    const auto& head = *static_cast<const ifaddrmsg*>(NLMSG_DATA(&message));
    std::string key = std::to_string(head.ifa_index) + ' ';
    unsigned flags = head.ifa_flags;
    auto left = static_cast<int>(IFA_PAYLOAD(&message));
    for (const auto* each = IFA_RTA(&head); RTA_OK(each, left); each = RTA_NEXT(each, left)) {
        if (each->rta_type == IFA_ADDRESS || each->rta_type == IFA_LOCAL)
            key.append(static_cast<const char*>(RTA_DATA(each)), RTA_PAYLOAD(each));
        else if (each->rta_type == IFA_FLAGS)
            std::memcpy(&flags, RTA_DATA(each), sizeof flags);
    }
    if (message.nlmsg_type == RTM_DELADDR) {
        m_addresses.erase(key);
        return true;
    }
    flags &= IFA_F_TENTATIVE | IFA_F_DADFAILED;
    const auto [known, isNew] = m_addresses.try_emplace(std::move(key), flags);
    return isNew || std::exchange(known->second, flags) != flags;
}

} // namespace quorrel
