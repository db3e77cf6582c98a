// SPDX-License-Identifier: GPL-3.0-or-later
#include "Benchmarks/BenchmarkProgram.h"
#include "Benchmarks/HeapUse.h"
#include "Benchmarks/StormNetwork.h"
#include "Benchmarks/Timing.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include <malloc.h>

// What ten thousand servers cost the main thread that come and go, five hundred names, half of them in the catalogue
// with ten shares each, while all workers hang. Every event is a turn of the run loop of its own, and so is each record
// that a monitor hears of; then all of the network is lost and found within one turn.

namespace quorrel {

namespace {

constexpr std::int64_t knownHosts = 250;
constexpr std::size_t names = 500;
constexpr std::size_t events = 10'000;
constexpr double target = 50; // milliseconds

/// How long the main thread was busy, turn by turn.
class Turns final {
public:
    explicit Turns(MainThreadQueue& queue)
        : m_queue(queue) { }

    void turn(const std::function<void()>& work) {
        const auto start = SteadyClock::now();
        work();
        m_queue.runPending();
        const double time = milliseconds(SteadyClock::now() - start);
        m_longest = std::max(m_longest, time);
        m_total += time;
        ++m_count;
    }

    bool print(const char* what) const {
        std::printf("%-34s %7zu turns  longest %8.2f ms  total %9.1f ms\n", what, m_count, m_longest, m_total);
        return m_longest < target;
    }

private:
    MainThreadQueue& m_queue;
    std::size_t m_count = 0;
    double m_longest = 0;
    double m_total = 0;
};

int run() {
    StormNetwork network;
    BenchmarkParts::NoStatusBar bar;
    BenchmarkParts::NoTimers timers;
    const StatusBarEnvironment statusBar { bar, timers };
    BenchmarkProgram program(knownHosts * BenchmarkProgram::sharePointsOfAHost, &statusBar, &network);
    auto& controller = program.controller;
    static_cast<void>(program.preferences().set("BrowseForServices", true));
    static_cast<void>(program.preferences().set("afp", true));
    static_cast<void>(program.preferences().set("unmountDrives", true));
    controller.awakeFromNib();
    controller.applicationDidFinishLaunching();

    std::vector<std::string> all;
    for (const auto& host : controller.hosts.snapshot())
        all.push_back(textOf(host->displayName.get()));
    while (all.size() < names)
        all.push_back("visitor-" + std::to_string(all.size()) + ".example.com");

    auto& queue = program.mainThreadQueue();
    const auto storm = [&](Turns& servers, Turns& records, std::size_t rounds) {
        for (std::size_t round = 0; round < rounds; ++round)
            for (const bool isThere : { true, false }) {
                for (const auto& name : all)
                    servers.turn([&] { network.tell(name, isThere); });
                for (bool more = true; more;)
                    records.turn([&] { more = network.tellRecord(); });
            }
    };
    Turns unmeasured(queue);
    storm(unmeasured, unmeasured, 1); // makes what stays: the operations that wait, the printed list's room
    ::malloc_trim(0);
    const double before = heapUse();

    Turns servers(queue);
    Turns records(queue);
    storm(servers, records, events / names / 2);
    Turns network500(queue);
    for (const bool isThere : { true, false })
        network500.turn([&] {
            for (const auto& name : all)
                network.tell(name, isThere);
        });
    Turns saves(queue);
    for (int count = 0; count < 10; ++count)
        saves.turn([&] { controller.sendSaveNotification(); });

    constexpr double kilobyte = 1024;
    bool isFast = servers.print("a server comes or goes");
    isFast = records.print("a monitor hears of a record") && isFast;
    isFast = network500.print("500 servers come, 500 go") && isFast;
    isFast = saves.print("the catalogue is saved") && isFast;
    std::printf("waiting operations %zu, services and monitors %d, heap before %.0f KB, after %.0f KB\n",
        controller.opQueue().operationCount(), network.services(), before / kilobyte, heapUse() / kilobyte);
    std::fflush(stdout);
    return isFast ? 0 : 2;
}

} // namespace

} // namespace quorrel

int main() {
    std::_Exit(quorrel::run()); // the workers wait for servers that never answer
}
