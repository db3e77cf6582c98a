// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Tests/Fakes/FakeServiceNetwork.h"

#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>

namespace quorrel {

/// Looks for what is on a fake network.
class FakeNetServiceBrowser final : public NetServiceBrowser {
public:
    /// As the caller asked for it; for domains the type is absent.
    struct Search final {
        std::optional<std::string> type;
        std::optional<std::string> domain;

        bool operator==(const Search&) const = default; // as it was written
    };

    explicit FakeNetServiceBrowser(std::shared_ptr<FakeServiceNetwork> network);
    FakeNetServiceBrowser(const FakeNetServiceBrowser&) = delete;
    FakeNetServiceBrowser& operator=(const FakeNetServiceBrowser&) = delete;
    ~FakeNetServiceBrowser() override;

    void setDelegate(NetServiceBrowserDelegate* delegate) override { m_delegate = delegate; }
    void searchForServicesOfType(const std::string& type, const std::optional<std::string>& domain) override;
    void searchForBrowsableDomains() override;
    void stop() override;

    [[nodiscard]] const std::optional<Search>& search() const { return m_search; }

    /// Each has it told, if it belongs to the search.
    void instanceAppeared(const NetServiceInstance& instance);
    void instanceWent(const NetServiceInstance& instance);
    void domainAppeared(const std::string& domain);
    void domainWent(const std::string& domain);
    void searchFailed(const std::string& error);
    void daemonWasLost();
    void daemonIsBack();

private:
    void begin(Search search);
    [[nodiscard]] bool isPossible() const;
    [[nodiscard]] bool isWanted(const NetServiceInstance& instance) const;
    void schedule(std::function<void()> event);
    void scheduleAll();
    void fail(const std::string& error);
    void tell(bool isThere, const NetServiceInstance& instance);
    void tell(bool isThere, const std::string& domain);

    const std::shared_ptr<FakeServiceNetwork> m_network;
    NetServiceBrowserDelegate* m_delegate = nullptr;
    std::optional<Search> m_search;
    std::set<NetServiceInstance, FakeServiceNetwork::OrderByText> m_found;
    std::set<std::string> m_foundDomains;
};

} // namespace quorrel
