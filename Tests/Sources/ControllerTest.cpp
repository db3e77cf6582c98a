// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Sources/ControllerTest.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace quorrel {

namespace {

constexpr auto patience = std::chrono::seconds(20);
// A worker is held for longer than any test takes; the fixture's end lets it go.
constexpr auto hold = std::chrono::minutes(5);

class Blocker final : public Operation {
public:
    explicit Blocker(WorkerGate& gate)
        : m_gate(gate) { }
    void main() override { m_gate.pass(); }

private:
    WorkerGate& m_gate;
};

} // namespace

void WorkerGate::pass() {
    std::unique_lock lock(m_mutex);
    ++m_visitors;
    m_changed.notify_all();
    m_changed.wait_for(lock, hold, [this] { return m_isOpen; });
}

void WorkerGate::open() {
    const std::lock_guard lock(m_mutex);
    m_isOpen = true;
    m_changed.notify_all();
}

bool WorkerGate::waitForVisitors(int count) {
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, patience, [&] { return m_visitors >= count; });
}

ControllerTest::ControllerTest() {
    EXPECT_TRUE(preferences.set("logToConsole", true));
    EXPECT_TRUE(preferences.set("BrowseForServices", false));
    discovery.setWitness(events.adder());
    volumeWatch.setWitness(events.adder());
    reachability.setWitness(events.adder());
    statusBar.setWitness(events.adder());
}

ControllerTest::~ControllerTest() {
    events.setWitness({});
    m_gate.open();
    volumes.interrupt();
    volumes.release();
}

std::shared_ptr<HostDefinition> ControllerTest::addHost(
    const std::string& name, const std::string& service, std::initializer_list<const char*> shares) {
    auto host = HostDefinition::initWithName(name, controller->catalogueContext());
    addService(host, service);
    for (const char* share : shares)
        addShare(host, service, share);
    controller->hosts.append(host);
    return host;
}

std::shared_ptr<SharePointDefinition> ControllerTest::addShare(
    const std::shared_ptr<HostDefinition>& host, const std::string& service, const std::string& name) {
    Dictionary dictionary;
    dictionary.set("displayType", service);
    dictionary.set("sharePoint", name);
    dictionary.set("guestLogin", true);
    auto sharePoint = SharePointDefinition::initWithDictionary(host, dictionary);
    host->sharePoints.append(sharePoint);
    return sharePoint;
}

std::shared_ptr<ServiceDefinition> ControllerTest::addService(
    const std::shared_ptr<HostDefinition>& host, const std::string& service) {
    Dictionary dictionary;
    dictionary.set("displayType", service);
    auto definition = ServiceDefinition::initWithDictionary(host, dictionary);
    host->services.append(definition);
    return definition;
}

void ControllerTest::mountNothingOnItsOwn(const std::shared_ptr<HostDefinition>& host) {
    for (const auto& sharePoint : host->sharePoints.snapshot())
        sharePoint->automatically.set(false);
}

void ControllerTest::occupyQueue() {
    for (std::size_t count = 0; count < controller->opQueue().maxConcurrentOperationCount(); ++count)
        controller->opQueue().addOperation(std::make_shared<Blocker>(m_gate));
    ASSERT_TRUE(m_gate.waitForVisitors(static_cast<int>(controller->opQueue().maxConcurrentOperationCount())));
}

std::size_t ControllerTest::waitingOperations() {
    return controller->opQueue().operationCount() - controller->opQueue().maxConcurrentOperationCount();
}

void ControllerTest::releaseQueue() {
    m_gate.open();
    waitUntilIdle();
}

void ControllerTest::waitUntilIdle() {
    std::mutex mutex;
    std::condition_variable idle;
    const auto subscription = controller->opQueue().observeIdle([&] {
        const std::lock_guard lock(mutex);
        idle.notify_all();
    });
    std::unique_lock lock(mutex);
    ASSERT_TRUE(idle.wait_for(lock, patience, [&] { return controller->opQueue().operationCount() == 0; }));
}

void ControllerTest::hangMounts(int count) {
    FakeVolumeService::Reply hanging;
    hanging.hangs = true;
    for (int each = 0; each < count; ++each)
        volumes.enqueueMountReply(hanging);
}

void ControllerTest::announceService(int action, const std::string& name, const std::string& type) {
    Dictionary userInfo;
    userInfo.set("action", action);
    userInfo.set("name", name);
    userInfo.set("type", type);
    controller->bonjourServiceNotigficationUpdate({ "ServiceAdded/Removed", nullptr, userInfo });
}

void ControllerTest::announceVolume(int action, const std::string& name) {
    Dictionary userInfo;
    userInfo.set("action", action);
    userInfo.set("name", name);
    userInfo.set("type", smb);
    controller->diskNotigficationUpdate({ "diskAddRemoveNotification", nullptr, userInfo });
}

void ControllerTest::announceReachability(bool isReachable) {
    reachability.change("example.com", isReachable ? ReachabilityFlag::reachable : 0);
    if (std::exchange(m_wasReachable, isReachable) == isReachable)
        notificationCenter.post("kNetworkReachabilityChangedNotification");
}

std::vector<std::string> ControllerTest::monitored() const {
    std::vector<std::string> names;
    for (const auto& instance : discovery.monitored())
        names.push_back(instance.name);
    return names;
}

std::size_t ControllerTest::countOfLogged(std::string_view text) const {
    const auto texts = logSink.texts();
    return static_cast<std::size_t>(std::count_if(
        texts.begin(), texts.end(), [&](const std::string& line) { return line.find(text) != std::string::npos; }));
}

} // namespace quorrel
