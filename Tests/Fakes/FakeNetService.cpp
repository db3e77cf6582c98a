// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Fakes/FakeNetService.h"

#include <utility>

namespace quorrel {

namespace {

bool isPossible(const FakeServiceNetwork::Request& request) {
    return !request.name.empty() && request.name.size() < 64 && FakeServiceNetwork::isPlain(request.name)
        && request.type.starts_with('_') && FakeServiceNetwork::isPlain(request.type)
        && FakeServiceNetwork::isPlain(request.domain.value_or(std::string()));
}

} // namespace

FakeNetService::FakeNetService(std::shared_ptr<FakeServiceNetwork> network, FakeServiceNetwork::Request request)
    : m_network(std::move(network))
    , m_request(std::move(request)) {
    m_network->services.push_back(this);
}

FakeNetService::~FakeNetService() {
    m_network->timeline.forget(resolution());
    m_network->timeline.forget(monitor());
    std::erase(m_network->services, this);
}

NetServiceInstance FakeNetService::instance() const {
    return FakeServiceNetwork::instance(m_request.name, m_request.type, m_request.domain);
}

void FakeNetService::resolveWithTimeout(Seconds timeout) {
    m_network->record("resolve " + m_request.name);
    m_request.timeout = timeout;
    m_isUnderWay = true;
    start(timeout);
    if (m_delegate)
        m_delegate->netServiceWillResolve(*this);
}

void FakeNetService::start(Seconds timeout) {
    auto& timeline = m_network->timeline;
    timeline.forget(resolution());
    m_network->requests.push_back(m_request);
    if (!isPossible(m_request)) {
        timeline.schedule(Seconds(0), resolution(), [this] { fail("Invalid service name"); });
        return;
    }
    if (!m_network->isThere) {
        timeline.schedule(Seconds(0), resolution(), [this] { fail(FakeServiceNetwork::daemonIsAway); });
        return;
    }
    for (const auto& reply : m_network->replies[m_request.name])
        timeline.schedule(reply.delay, resolution(), [this, reply] {
            if (!reply.error)
                answer(reply);
            else if (m_isUnderWay)
                fail(*reply.error);
        });
    timeline.schedule(timeout, resolution(), [this] {
        if (m_isUnderWay)
            fail("Timeout reached");
        else
            m_network->timeline.forget(resolution());
    });
}

void FakeNetService::stop() {
    m_network->timeline.forget(resolution());
    if (std::exchange(m_isUnderWay, false) && m_delegate)
        m_delegate->netServiceDidStop(*this);
}

void FakeNetService::fail(const std::string& error) {
    m_network->timeline.forget(resolution());
    m_isUnderWay = false;
    if (m_delegate)
        m_delegate->netServiceDidNotResolve(*this, error);
}

void FakeNetService::answer(FakeServiceNetwork::Reply reply) {
    m_isUnderWay = false;
    m_answer = std::move(reply);
    if (m_delegate)
        m_delegate->netServiceDidResolveAddress(*this);
}

void FakeNetService::startMonitoring() {
    m_network->record("monitor " + m_request.name);
    if (std::exchange(m_isMonitored, true))
        return;
    m_shown.reset();
    if (m_network->isThere && m_network->records.contains(instance()))
        recordChanged();
}

void FakeNetService::stopMonitoring() {
    m_network->record("stop monitoring " + m_request.name);
    m_isMonitored = false;
    m_network->timeline.forget(monitor());
}

void FakeNetService::recordChanged() {
    const auto found = m_network->records.find(instance());
    const auto data = found == m_network->records.end() ? std::vector<std::uint8_t>() : found->second;
    m_network->timeline.schedule(m_network->eventDelay, monitor(), [this, data] { tellRecord(data); });
}

void FakeNetService::tellRecord(std::vector<std::uint8_t> data) {
    m_shown = data;
    if (m_delegate)
        m_delegate->netServiceDidUpdateTXTRecordData(*this, data);
}

void FakeNetService::daemonWasLost() {
    m_network->timeline.forget(monitor());
    if (!m_isUnderWay)
        return;
    m_network->timeline.forget(resolution());
    m_network->timeline.schedule(Seconds(0), resolution(), [this] { fail(FakeServiceNetwork::daemonIsAway); });
}

void FakeNetService::daemonIsBack() {
    const auto found = m_network->records.find(instance());
    if (m_isMonitored && found != m_network->records.end() && m_shown != found->second)
        recordChanged();
}

} // namespace quorrel
