// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/AvahiNetServiceBrowser.h"

#include "Platform/Linux/AvahiNames.h"

#include "Platform/Linux/GlibPointers.h"

#include <avahi-common/domain.h>
#include <avahi-common/error.h>

#include <utility>
#include <vector>

namespace quorrel {

namespace {

constexpr int anywhere = -1;
constexpr int domainsToBrowse = 0;

} // namespace

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
            m_connectionChanges
                = m_connection.observe([this](AvahiConnection::State state) { connectionChanged(state); });
            if (m_connection.state() == AvahiConnection::State::Running)
                startBrowser();
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

void AvahiNetServiceBrowser::startBrowser() {
    const auto& [type, domain] = *m_search;
    auto* parameters = type ? g_variant_new("(iissu)", anywhere, anywhere, type->c_str(), domain.c_str(), 0U)
                            : g_variant_new("(iisiu)", anywhere, anywhere, domain.c_str(), domainsToBrowse, 0U);
    m_browser = std::make_unique<AvahiObject>(m_connection, type ? "ServiceBrowser" : "DomainBrowser", parameters,
        AvahiObject::Hearer {
            [this](const std::string& signal, GVariant* told) { this->told(signal, told); },
            [this](AvahiObject::Refusal refusal, const std::string& reason) {
                if (refusal != AvahiObject::Refusal::Lost) // the search goes on with the next daemon
                    fail(reason);
            },
        });
}

void AvahiNetServiceBrowser::connectionChanged(AvahiConnection::State state) {
    if (state == AvahiConnection::State::Absent)
        static_cast<void>(removeAll());
    else if (!m_browser)
        startBrowser();
}

// This may be gone after each event.
void AvahiNetServiceBrowser::told(const std::string& signal, GVariant* parameters) {
    if (signal == "Failure" && g_variant_is_of_type(parameters, G_VARIANT_TYPE("(s)"))) {
        const gchar* reason = nullptr;
        g_variant_get(parameters, "(&s)", &reason);
        fail(reason);
        return;
    }
    const bool isNew = signal == "ItemNew";
    if (!isNew && signal != "ItemRemove")
        return;
    gint32 interface = 0;
    gint32 protocol = 0;
    const gchar* name = "";
    const gchar* type = "";
    const gchar* domain = nullptr;
    if (g_variant_is_of_type(parameters, G_VARIANT_TYPE("(iisssu)"))) {
        g_variant_get(parameters, "(ii&s&s&su)", &interface, &protocol, &name, &type, &domain, nullptr);
        saw(isNew, { name, withFinalDot(type), withFinalDot(domain) }, { interface, protocol });
    } else if (g_variant_is_of_type(parameters, G_VARIANT_TYPE("(iisu)"))) {
        g_variant_get(parameters, "(ii&su)", &interface, &protocol, &domain, nullptr);
        saw(isNew, { {}, {}, withFinalDot(domain) }, { interface, protocol });
    }
}

void AvahiNetServiceBrowser::saw(bool isNew, const NetServiceInstance& instance, AvahiSightings::Place place) {
    if (isNew && m_sightings.add(instance, place))
        tellFind(instance);
    else if (!isNew && m_sightings.remove(instance, place))
        tellRemoval(instance, false);
}

bool AvahiNetServiceBrowser::removeAll() {
    m_timer.stop();
    m_browser.reset();
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
    m_browser.reset();
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
