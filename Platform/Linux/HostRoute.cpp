// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/HostRoute.h"

#include "Platform/Linux/FileDescriptor.h"

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <memory>
#include <optional>

#include <ifaddrs.h>
#include <linux/rtnetlink.h>
#include <net/if.h>
#include <sys/socket.h>

namespace quorrel {

namespace {

constexpr unsigned usable = IFF_UP | IFF_RUNNING;

struct InterfacesDeleter final {
    void operator()(ifaddrs* list) const { freeifaddrs(list); }
};

/// One question to the kernel and its answer, which is there when the question has been sent.
class Question final {
public:
    explicit Question(unsigned short type) {
        m_header.nlmsg_type = type;
        m_header.nlmsg_flags = NLM_F_REQUEST;
        m_length = NLMSG_HDRLEN;
    }

    template <typename Body>
    void appendBody(const Body& body) {
        append(&body, sizeof body);
    }

    void appendAttribute(unsigned short type, const void* data, std::size_t size) {
        rtattr head {};
        head.rta_type = type;
        head.rta_len = static_cast<unsigned short>(RTA_LENGTH(size));
        append(&head, sizeof head);
        append(data, size);
    }

    /// The first message of the answer, or null: the kernel has none to give.
    [[nodiscard]] const nlmsghdr* ask(const FileDescriptor& kernel, unsigned short expected) {
        m_header.nlmsg_len = static_cast<unsigned>(m_length);
        std::memcpy(m_message.data(), &m_header, sizeof m_header);
        if (::send(kernel.get(), m_message.data(), m_length, MSG_NOSIGNAL) < 0)
            return nullptr;
        ssize_t size = -1;
        do
            size = ::recv(kernel.get(), m_answer.data(), m_answer.size(), MSG_DONTWAIT);
        while (size < 0 && errno == EINTR);
        if (size < 0)
            return nullptr;
        const auto* answer = reinterpret_cast<const nlmsghdr*>(m_answer.data());
        return NLMSG_OK(answer, static_cast<unsigned>(size)) && answer->nlmsg_type == expected ? answer : nullptr;
    }

private:
    void append(const void* data, std::size_t size) {
        std::memcpy(m_message.data() + m_length, data, size);
        m_length += NLMSG_ALIGN(size);
    }

    nlmsghdr m_header {};
    std::size_t m_length = 0;
    alignas(nlmsghdr) std::array<char, 128> m_message {};
    alignas(nlmsghdr) std::array<char, 16384> m_answer {};
};

unsigned linkFlags(const FileDescriptor& kernel, unsigned link) {
    Question question(RTM_GETLINK);
    ifinfomsg body {};
    body.ifi_family = AF_UNSPEC;
    body.ifi_index = static_cast<int>(link);
    question.appendBody(body);
    const auto* answer = question.ask(kernel, RTM_NEWLINK);
    return answer ? static_cast<const ifinfomsg*>(NLMSG_DATA(answer))->ifi_flags : 0;
}

struct Route final {
    unsigned char type = RTN_UNSPEC;
    unsigned link = 0;
    bool hasGateway = false;
    bool hasLinkLocalSource = false;
};

std::optional<Route> findRoute(const FileDescriptor& kernel, const InternetAddress& address) {
    const std::size_t size = address.isVersion6 ? 16 : 4;
    Question question(RTM_GETROUTE);
    rtmsg body {};
    body.rtm_family = static_cast<unsigned char>(address.isVersion6 ? AF_INET6 : AF_INET);
    body.rtm_dst_len = static_cast<unsigned char>(size * 8);
    question.appendBody(body);
    question.appendAttribute(RTA_DST, address.bytes.data(), size);
    if (address.link != 0)
        question.appendAttribute(RTA_OIF, &address.link, sizeof address.link);
    const auto* answer = question.ask(kernel, RTM_NEWROUTE);
    if (!answer)
        return std::nullopt;
    const auto* found = static_cast<const rtmsg*>(NLMSG_DATA(answer));
    Route route;
    route.type = found->rtm_type;
    auto left = static_cast<int>(RTM_PAYLOAD(answer));
    for (const auto* each = RTM_RTA(found); RTA_OK(each, left); each = RTA_NEXT(each, left)) {
        const void* data = RTA_DATA(each);
        switch (each->rta_type) {
        case RTA_OIF:
            std::memcpy(&route.link, data, sizeof route.link);
            break;
        case RTA_GATEWAY:
        case RTA_VIA: // a gateway of the other family
            route.hasGateway = true;
            break;
        case RTA_PREFSRC: {
            InternetAddress source;
            source.isVersion6 = address.isVersion6;
            std::memcpy(source.bytes.data(), data, size);
            route.hasLinkLocalSource = source.isLinkLocal();
            break;
        }
        default:
            break;
        }
    }
    return route;
}

} // namespace

HostRoute routeTo(const InternetAddress& address) {
    const FileDescriptor kernel(::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE));
    if (!kernel.isOpen())
        return HostRoute::None;
    const auto route = findRoute(kernel, address);
    if (!route || (route->type != RTN_UNICAST && route->type != RTN_LOCAL && route->type != RTN_ANYCAST))
        return HostRoute::None;
    // The kernel keeps routes over a link that lost its carrier, and sends into the void.
    if ((linkFlags(kernel, route->link) & usable) != usable)
        return HostRoute::None;
    if (route->type == RTN_LOCAL)
        return HostRoute::Local;
    if (!route->hasGateway)
        return HostRoute::OnLink;
    // A gateway forwards nothing that comes from such an address: ours is still to be given.
    return route->hasLinkLocalSource ? HostRoute::None : HostRoute::Gateway;
}

bool hasNetwork() {
    ifaddrs* found = nullptr;
    if (getifaddrs(&found) != 0)
        return false;
    const std::unique_ptr<ifaddrs, InterfacesDeleter> list(found);
    for (const auto* each = list.get(); each; each = each->ifa_next)
        if (each->ifa_addr && (each->ifa_addr->sa_family == AF_INET || each->ifa_addr->sa_family == AF_INET6)
            && (each->ifa_flags & (usable | IFF_LOOPBACK)) == usable)
            return true;
    return false;
}

} // namespace quorrel
