// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/DNSServiceDiscovery.h"

#include <algorithm>
#include <cstdint>
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
    void netServiceDidUpdateTXTRecordData(NetService&, const std::vector<std::uint8_t>& data) override {
        std::string strings;
        for (std::size_t at = 0; at < data.size(); at += 1U + data[at]) {
            const auto end = std::min(at + 1U + data[at], data.size());
            strings += (strings.empty() ? "" : " ")
                + std::string(data.begin() + static_cast<long>(at) + 1, data.begin() + static_cast<long>(end));
        }
        hear("record: " + strings);
    }

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
