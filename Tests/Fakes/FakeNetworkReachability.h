// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/NetworkReachability.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace quorrel {

/// A network whose hosts can be reached as tests say. Main thread only. What is set is known to references when time
/// goes on (`runPending`), so that an answer comes as late as a test likes.
class FakeNetworkReachability final : public NetworkReachability {
public:
    FakeNetworkReachability() = default;
    FakeNetworkReachability(const FakeNetworkReachability&) = delete;
    FakeNetworkReachability& operator=(const FakeNetworkReachability&) = delete;
    /// References may outlive it; they are silent then.
    ~FakeNetworkReachability() override;

    /// Null for an empty name and for one that was said to be impossible.
    [[nodiscard]] std::unique_ptr<ReachabilityReference> createWithName(const std::string& hostName) override;

    /// What is true of the host from now on. Absent, as at first: references learn nothing new.
    void setFlags(const std::string& hostName, std::optional<std::uint32_t> flags);
    /// Every reference learns what is true of its host; those that are scheduled tell when that is new to them.
    void runPending();
    /// Both at once.
    void change(const std::string& hostName, std::optional<std::uint32_t> flags);

    /// No reference can be made for that name.
    void setImpossible(const std::string& hostName) { m_impossible.insert(hostName); }
    /// References for that name cannot be scheduled.
    void setUnschedulable(const std::string& hostName) { m_unschedulable.insert(hostName); }

    /// Every name that a reference was asked for, in order.
    [[nodiscard]] const std::vector<std::string>& requests() const { return m_requests; }
    /// Is told "reference NAME" of each request, and "end of reference NAME".
    void setWitness(std::function<void(const std::string& event)> witness) { m_witness = std::move(witness); }
    /// The names of the references that are alive; of those that are scheduled, once for each loop. Sorted.
    [[nodiscard]] std::vector<std::string> alive() const;
    [[nodiscard]] std::vector<std::string> scheduled() const;

private:
    class Reference;

    std::map<std::string, std::uint32_t> m_flags;
    std::set<std::string> m_impossible;
    std::set<std::string> m_unschedulable;
    std::vector<std::string> m_requests;
    std::vector<Reference*> m_references;
    std::function<void(const std::string&)> m_witness;
};

} // namespace quorrel
