// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/AvahiNetServiceBrowser.h"

#include "Platform/Linux/AvahiNames.h"

#include <avahi-client/client.h>
#include <avahi-client/lookup.h>
#include <avahi-common/domain.h>
#include <avahi-common/error.h>

#include <chrono>
#include <utility>
#include <vector>

namespace quorrel {

struct AvahiNetServiceBrowser::Callbacks final {
    // The browser may be gone after each event.
    static void sawService(AvahiServiceBrowser* source, AvahiIfIndex interface, AvahiProtocol protocol,
        AvahiBrowserEvent event, const char* name, const char* type, const char* domain, AvahiLookupResultFlags,
        void* data) noexcept {
        auto& browser = *static_cast<AvahiNetServiceBrowser*>(data);
        if (event == AVAHI_BROWSER_FAILURE)
            browser.fail(avahi_strerror(avahi_client_errno(avahi_service_browser_get_client(source))));
        else if (name && type && domain)
            browser.saw(event, { name, withFinalDot(type), withFinalDot(domain) }, { interface, protocol });
    }
    static void sawDomain(AvahiDomainBrowser* source, AvahiIfIndex interface, AvahiProtocol protocol,
        AvahiBrowserEvent event, const char* domain, AvahiLookupResultFlags, void* data) noexcept {
        auto& browser = *static_cast<AvahiNetServiceBrowser*>(data);
        if (event == AVAHI_BROWSER_FAILURE)
            browser.fail(avahi_strerror(avahi_client_errno(avahi_domain_browser_get_client(source))));
        else if (domain)
            browser.saw(event, { {}, {}, withFinalDot(domain) }, { interface, protocol });
    }
};

void AvahiNetServiceBrowser::Deleter::operator()(AvahiServiceBrowser* browser) const {
    avahi_service_browser_free(browser);
}

void AvahiNetServiceBrowser::Deleter::operator()(AvahiDomainBrowser* browser) const {
    avahi_domain_browser_free(browser);
}

AvahiNetServiceBrowser::AvahiNetServiceBrowser(AvahiConnection& connection)
    : m_connection(connection) { }

AvahiNetServiceBrowser::~AvahiNetServiceBrowser() = default;

void AvahiNetServiceBrowser::searchForServicesOfType(
    const std::string& type, const std::optional<std::string>& domain) {
    begin({ withoutFinalDot(type), withoutFinalDot(domain.value_or(std::string())) });
}

void AvahiNetServiceBrowser::searchForBrowsableDomains() {
    begin({});
}

void AvahiNetServiceBrowser::begin(Search search) {
    if (!m_search || *m_search != search) {
        end();
        m_search = std::make_shared<const Search>(std::move(search));
        if (const auto reason = obstacle()) {
            failLater(*reason);
        } else {
            auto* client = m_connection.client();
            m_connectionChanges = m_connection.observe([this](AvahiClient* now) { connectionChanged(now); });
            if (client)
                startBrowser(client);
        }
    }
    if (m_delegate)
        m_delegate->netServiceBrowserWillSearch(*this); // may destroy it
}

std::optional<std::string> AvahiNetServiceBrowser::obstacle() const {
    const auto& [type, domain] = *m_search;
    if (type && (!isFitForBus(*type) || !avahi_is_valid_service_type_generic(type->c_str())))
        return avahi_strerror(AVAHI_ERR_INVALID_SERVICE_TYPE);
    if (!isFitForBus(domain) || !avahi_is_valid_domain_name(domain.c_str()))
        return avahi_strerror(AVAHI_ERR_INVALID_DOMAIN_NAME);
    return std::nullopt;
}

void AvahiNetServiceBrowser::startBrowser(AvahiClient* client) {
    m_timer.stop();
    const auto start = std::chrono::steady_clock::now();
    const auto& [type, domain] = *m_search;
    const auto* place = domain.empty() ? nullptr : domain.c_str();
    if (type)
        m_serviceBrowser.reset(avahi_service_browser_new(client, AVAHI_IF_UNSPEC, AVAHI_PROTO_UNSPEC, type->c_str(),
            place, AvahiLookupFlags {}, &Callbacks::sawService, this));
    else
        m_domainBrowser.reset(avahi_domain_browser_new(client, AVAHI_IF_UNSPEC, AVAHI_PROTO_UNSPEC, place,
            AVAHI_DOMAIN_BROWSER_BROWSE, AvahiLookupFlags {}, &Callbacks::sawDomain, this));
    if (m_serviceBrowser || m_domainBrowser)
        return;
    const int error = avahi_client_errno(client);
    if (error != AVAHI_ERR_DISCONNECTED && error != AVAHI_ERR_NO_DAEMON && error != AVAHI_ERR_DBUS_ERROR) {
        failLater(avahi_strerror(error));
        return;
    }
    // As if a daemon went this very moment: it is about to be announced as lost, and the search goes on with the next.
    m_timer.start(AvahiConnection::pauseAfter(std::chrono::steady_clock::now() - start), [this] {
        if (auto* same = m_connection.client())
            startBrowser(same);
    });
}

void AvahiNetServiceBrowser::connectionChanged(AvahiClient* client) {
    if (client)
        startBrowser(client);
    else
        static_cast<void>(removeAll());
}

void AvahiNetServiceBrowser::saw(int event, const NetServiceInstance& instance, AvahiSightings::Place place) {
    if (event == AVAHI_BROWSER_NEW && m_sightings.add(instance, place))
        tellFind(instance);
    else if (event == AVAHI_BROWSER_REMOVE && m_sightings.remove(instance, place))
        tellRemoval(instance, false);
}

bool AvahiNetServiceBrowser::removeAll() {
    m_timer.stop();
    m_serviceBrowser.reset();
    m_domainBrowser.reset();
    const std::weak_ptr search = m_search;
    auto left = m_sightings.takeAll();
    while (!left.empty() && !search.expired()) {
        const auto instance = std::move(left.back());
        left.pop_back();
        tellRemoval(instance, !left.empty()); // may end the search
    }
    return !search.expired();
}

void AvahiNetServiceBrowser::tellFind(const NetServiceInstance& instance) {
    if (!m_delegate)
        return;
    if (instance.type.empty())
        m_delegate->netServiceBrowserDidFindDomain(*this, instance.domain, false);
    else
        m_delegate->netServiceBrowserDidFindService(*this, instance, false);
}

void AvahiNetServiceBrowser::tellRemoval(const NetServiceInstance& instance, bool moreComing) {
    if (!m_delegate)
        return;
    if (instance.type.empty())
        m_delegate->netServiceBrowserDidRemoveDomain(*this, instance.domain, moreComing);
    else
        m_delegate->netServiceBrowserDidRemoveService(*this, instance, moreComing);
}

void AvahiNetServiceBrowser::stop() {
    if (!m_search)
        return;
    end();
    if (m_delegate)
        m_delegate->netServiceBrowserDidStopSearch(*this); // may destroy it
}

void AvahiNetServiceBrowser::end() {
    m_timer.stop();
    m_connectionChanges.cancel();
    m_serviceBrowser.reset();
    m_domainBrowser.reset();
    m_sightings = {};
    m_search.reset();
}

void AvahiNetServiceBrowser::failLater(const std::string& error) {
    m_timer.start(Seconds(0), [this, error] { fail(error); });
}

void AvahiNetServiceBrowser::fail(const std::string& error) {
    if (!removeAll()) // nobody would remove it later
        return;
    end();
    if (m_delegate)
        m_delegate->netServiceBrowserDidNotSearch(*this, error); // may destroy it
}

} // namespace quorrel
