// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Tests/Fakes/FakeServiceNetwork.h"

#include <memory>

namespace quorrel {

/// One service instance on a fake network.
class FakeNetService final : public NetService {
public:
    FakeNetService(std::shared_ptr<FakeServiceNetwork> network, FakeServiceNetwork::Request request);
    FakeNetService(const FakeNetService&) = delete;
    FakeNetService& operator=(const FakeNetService&) = delete;
    ~FakeNetService() override;

    void setDelegate(NetServiceDelegate* delegate) override { m_delegate = delegate; }
    void resolveWithTimeout(Seconds timeout) override;
    void stop() override;
    void startMonitoring() override;
    void stopMonitoring() override;

    [[nodiscard]] std::string name() const override { return m_request.name; }
    [[nodiscard]] std::optional<std::vector<SocketAddress>> addresses() const override { return m_answer.addresses; }
    [[nodiscard]] std::string hostName() const override { return m_answer.hostName; }
    [[nodiscard]] int port() const override { return m_answer.port; }

    [[nodiscard]] bool isUnderWay() const { return m_isUnderWay; }
    [[nodiscard]] bool isMonitored() const { return m_isMonitored; }
    [[nodiscard]] NetServiceInstance instance() const;

    /// Has its monitor told of what the record holds at this time.
    void recordChanged();
    void daemonWasLost();
    void daemonIsBack();

private:
    /// The two sides of a service, each with events of its own.
    [[nodiscard]] const void* resolution() const { return this; }
    [[nodiscard]] const void* monitor() const { return &m_isMonitored; }

    void start(Seconds timeout);
    void answer(FakeServiceNetwork::Reply reply);
    void fail(const std::string& error);
    void tellRecord(std::vector<std::uint8_t> data);

    const std::shared_ptr<FakeServiceNetwork> m_network;
    FakeServiceNetwork::Request m_request;
    NetServiceDelegate* m_delegate = nullptr;
    bool m_isUnderWay = false;
    bool m_isMonitored = false;
    std::optional<std::vector<std::uint8_t>> m_shown;
    FakeServiceNetwork::Reply m_answer;
};

} // namespace quorrel
