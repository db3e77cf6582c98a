// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Fakes/FakeNetworkReachability.h"

#include <algorithm>
#include <utility>

namespace quorrel {

class FakeNetworkReachability::Reference final : public ReachabilityReference {
public:
    Reference(FakeNetworkReachability& network, std::string hostName)
        : m_network(&network)
        , m_hostName(std::move(hostName)) {
        m_network->m_references.push_back(this);
    }
    Reference(const Reference&) = delete;
    Reference& operator=(const Reference&) = delete;
    ~Reference() override {
        if (!m_network)
            return;
        std::erase(m_network->m_references, this);
        if (m_network->m_witness)
            m_network->m_witness("end of reference " + m_hostName);
    }

    [[nodiscard]] std::optional<std::uint32_t> flags() const override { return m_flags; }
    void setCallback(Callback callback) override { m_callback = std::move(callback); }

    [[nodiscard]] bool scheduleWithRunLoop(RunLoop& runLoop) override {
        if (!m_network || m_network->m_unschedulable.contains(m_hostName))
            return false;
        m_runLoops.insert(&runLoop);
        return true;
    }
    void unscheduleFromRunLoop(RunLoop& runLoop) override { m_runLoops.erase(&runLoop); }

    void learn(std::uint32_t flags) {
        m_flags = flags;
        if (m_runLoops.empty() || std::exchange(m_told, flags) == flags)
            return;
        if (const auto callback = m_callback) // which may destroy this
            callback(flags);
    }

    [[nodiscard]] const std::string& hostName() const { return m_hostName; }
    [[nodiscard]] std::size_t runLoops() const { return m_runLoops.size(); }
    void orphan() { m_network = nullptr; }

private:
    FakeNetworkReachability* m_network;
    const std::string m_hostName;
    std::optional<std::uint32_t> m_flags;
    std::optional<std::uint32_t> m_told;
    Callback m_callback;
    std::set<RunLoop*> m_runLoops;
};

FakeNetworkReachability::~FakeNetworkReachability() {
    for (auto* reference : m_references)
        reference->orphan();
}

std::unique_ptr<ReachabilityReference> FakeNetworkReachability::createWithName(const std::string& hostName) {
    m_requests.push_back(hostName);
    if (m_witness)
        m_witness("reference " + hostName);
    if (hostName.empty() || m_impossible.contains(hostName))
        return nullptr;
    return std::make_unique<Reference>(*this, hostName);
}

void FakeNetworkReachability::setFlags(const std::string& hostName, std::optional<std::uint32_t> flags) {
    if (flags)
        m_flags[hostName] = *flags;
    else
        m_flags.erase(hostName);
}

void FakeNetworkReachability::runPending() {
    for (auto* reference : std::vector(m_references)) {
        // An earlier one's callback may have destroyed it, or have changed what is true.
        if (std::find(m_references.begin(), m_references.end(), reference) == m_references.end())
            continue;
        if (const auto found = m_flags.find(reference->hostName()); found != m_flags.end())
            reference->learn(found->second);
    }
}

void FakeNetworkReachability::change(const std::string& hostName, std::optional<std::uint32_t> flags) {
    setFlags(hostName, flags);
    runPending();
}

std::vector<std::string> FakeNetworkReachability::alive() const {
    std::vector<std::string> names;
    for (const auto* reference : m_references)
        names.push_back(reference->hostName());
    std::sort(names.begin(), names.end());
    return names;
}

std::vector<std::string> FakeNetworkReachability::scheduled() const {
    std::vector<std::string> names;
    for (const auto* reference : m_references)
        names.insert(names.end(), reference->runLoops(), reference->hostName());
    std::sort(names.begin(), names.end());
    return names;
}

} // namespace quorrel
