// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/DNSServiceDiscovery.h"

#include <functional>
#include <string>
#include <vector>

namespace quorrel {

/// Writes down what it hears of a service, and does what a test asks for.
class RecordingNetServiceDelegate final : public NetServiceDelegate {
public:
    void netServiceWillResolve(NetService&) override { hear("will resolve"); }
    void netServiceDidResolveAddress(NetService&) override { hear("did resolve"); }
    void netServiceDidNotResolve(NetService&, const std::string& reason) override {
        error = reason;
        hear("did not resolve");
    }
    void netServiceDidStop(NetService&) override { hear("did stop"); }

    [[nodiscard]] bool hasEnded() const { return !heard.empty() && heard.back() != "will resolve"; }

    std::vector<std::string> heard;
    std::string error;
    std::function<void(const std::string& event)> then;

private:
    void hear(const std::string& event) {
        heard.push_back(event);
        if (then)
            then(event);
    }
};

} // namespace quorrel
