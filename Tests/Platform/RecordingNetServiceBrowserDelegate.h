// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/DNSServiceDiscovery.h"

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

namespace quorrel {

/// Writes down what it hears of a search, and does what a test asks for.
class RecordingNetServiceBrowserDelegate final : public NetServiceBrowserDelegate {
public:
    void netServiceBrowserWillSearch(NetServiceBrowser&) override { hear("will search"); }
    void netServiceBrowserDidStopSearch(NetServiceBrowser&) override { hear("did stop"); }
    void netServiceBrowserDidNotSearch(NetServiceBrowser&, const std::string& reason) override {
        error = reason;
        hear("did not search");
    }
    void netServiceBrowserDidFindDomain(NetServiceBrowser&, const std::string& domain, bool) override {
        hear("found domain " + domain);
    }
    void netServiceBrowserDidRemoveDomain(NetServiceBrowser&, const std::string& domain, bool) override {
        hear("removed domain " + domain);
    }
    void netServiceBrowserDidFindService(NetServiceBrowser&, const NetServiceInstance& service, bool) override {
        lastInstance = service;
        hear("found " + service.name);
    }
    void netServiceBrowserDidRemoveService(
        NetServiceBrowser&, const NetServiceInstance& service, bool moreComing) override {
        lastInstance = service;
        lastRemovalHadMoreComing = moreComing;
        hear("removed " + service.name);
    }

    [[nodiscard]] bool hasHeard(const std::string& event) const { return count(event) > 0; }
    [[nodiscard]] int count(const std::string& event) const {
        return static_cast<int>(std::count(heard.begin(), heard.end(), event));
    }
    [[nodiscard]] int countOfAll(const std::string& beginning) const {
        return static_cast<int>(
            std::count_if(heard.begin(), heard.end(), [&](const auto& each) { return each.starts_with(beginning); }));
    }

    std::vector<std::string> heard;
    std::string error;
    NetServiceInstance lastInstance;
    bool lastRemovalHadMoreComing = false;
    std::function<void(const std::string& event)> then;

private:
    void hear(const std::string& event) {
        heard.push_back(event);
        if (then)
            then(event);
    }
};

} // namespace quorrel
