// SPDX-License-Identifier: GPL-3.0-or-later
#include "Benchmarks/BenchmarkProgram.h"
#include "Benchmarks/StormNetwork.h"
#include "Benchmarks/Timing.h"
#include "Desktop/ImageLoader.h"
#include "Desktop/MenuRenderer.h"
#include "Foundation/ActionTarget.h"
#include "Sources/SharePointDefinition.h"
#include "Tests/Fakes/ThreadTime.h"

#include <QApplication>
#include <QCoreApplication>
#include <QMenu>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// What the main thread does for a catalogue of 100, 1,000 and 10,000 share points, in milliseconds, a line each of
// what, share points and median. The sizes take turns. With --processor it is the thread's processor time alone.
// Benchmarks/compare fits the growth.

namespace quorrel {

namespace {

constexpr std::array<std::int64_t, 3> sizes { 100, 1'000, 10'000 };

bool countsProcessorTime = false; // on a busy machine, a clock on the wall tells mostly of the others

double timeOf(const std::function<void()>& work) {
    const auto start = SteadyClock::now();
    const auto startOfThread = threadTime();
    work();
    return countsProcessorTime ? (threadTime() - startOfThread).count() * 1e3
                               : milliseconds(SteadyClock::now() - start);
}

/// By what was done: what it took.
using Times = std::map<std::string, double>;

class NoActions final : public ActionTarget {
public:
    void perform(Selector, const MenuItem&) override { }
    [[nodiscard]] ActionState validate(Selector) const override { return {}; }
};

/// A program with a catalogue of that size that watches a network and volumes.
class Sample final {
public:
    explicit Sample(std::int64_t sharePoints)
        : m_program(sharePoints, &m_statusBar, &m_network) {
        static_cast<void>(m_program.preferences().set("BrowseForServices", true));
        static_cast<void>(m_program.preferences().set("afp", true));
        static_cast<void>(m_program.preferences().set("unmountDrives", true));
        controller().awakeFromNib();
        controller().applicationDidFinishLaunching();
        for (const auto& host : controller().hosts.snapshot())
            m_names.push_back(textOf(host->displayName.get()));
    }

    Times measure() {
        Times times;
        times["save"] = turn([this] { controller().saveHostsArray(); });
        m_program.saves().finish(); // on a thread of its own, which is not measured
        times["menus"] = turn([this] { controller().makeMountpopMenu(); });
        times["drawn"] = draw();
        times["volume"] = tellOfVolume();
        storm(times);
        m_program.saves().finish();
        times["load"] = turn([this] { controller().loadHostsArray(); });
        return times;
    }

private:
    [[nodiscard]] QuorrelAppDelegate& controller() { return m_program.controller; }

    double turn(const std::function<void()>& work) {
        return timeOf([&] {
            work();
            m_program.mainThreadQueue().runPending();
        });
    }

    /// The first drawing of all menus, up to the last row.
    double draw() {
        NoActions actions;
        const ImageLoader images;
        QMenu menu;
        return timeOf([&] {
            const MenuRenderer renderer(menu, controller().popMenu, MenuLabel::Drawer::Qt, actions, images);
            const auto isDrawn = [&] {
                const auto* last = menu.actions().at(1)->menu()->actions().back()->menu();
                return last && !last->actions().empty();
            };
            do
                QCoreApplication::processEvents();
            while (!isDrawn());
        });
    }

    double tellOfVolume() {
        const auto hosts = controller().hosts.snapshot();
        const auto& last = *hosts.back();
        const auto share = textOf(last.sharePoints.snapshot().back()->sharePoint.get());
        const VolumeDescription volume { share, "afpfs", "afp://" + m_names.back() + "/" + share, true,
            m_names.back() };
        auto& volumes = m_program.volumes();
        constexpr int rounds = 10;
        double total = 0;
        for (int round = 0; round < rounds; ++round) {
            total += turn([&] { volumes.appeared(volume); });
            total += turn([&] { volumes.disappeared(volume); });
        }
        return total / rounds / 2;
    }

    /// Every server of the catalogue comes, tells of its model, and goes, each in a turn of its own.
    void storm(Times& times) {
        double total = 0;
        double longest = 0;
        const auto event = [&](const std::function<void()>& work) {
            const double time = turn(work);
            total += time;
            longest = std::max(longest, time);
        };
        for (const auto& name : m_names)
            event([&] { m_network.tell(name, true); });
        for (bool more = true; more;)
            event([&] { more = m_network.tellRecord(); });
        for (const auto& name : m_names)
            event([&] { m_network.tell(name, false); });
        times["storm"] = total;
        times["event"] = longest;
    }

    StormNetwork m_network;
    BenchmarkParts::NoStatusBar m_bar;
    BenchmarkParts::NoTimers m_timers;
    const StatusBarEnvironment m_statusBar { m_bar, m_timers };
    BenchmarkProgram m_program;
    std::vector<std::string> m_names;
};

int run(int rounds) {
    std::vector<std::unique_ptr<Sample>> samples;
    for (const auto size : sizes)
        samples.push_back(std::make_unique<Sample>(size));
    std::map<std::string, std::array<std::vector<double>, sizes.size()>> all;
    for (int round = 0; round <= rounds; ++round)
        for (std::size_t index = 0; index < sizes.size(); ++index)
            for (const auto& [what, time] : samples[index]->measure())
                if (round > 0) // the first warms up
                    all[what][index].push_back(time);
    for (const auto& [what, times] : all)
        for (std::size_t index = 0; index < sizes.size(); ++index)
            std::printf("%s %lld %.4f\n", what.c_str(), static_cast<long long>(sizes[index]), median(times[index]));
    std::fflush(stdout);
    return 0;
}

} // namespace

} // namespace quorrel

int main(int count, char** arguments) {
    ::setenv("QT_QPA_PLATFORM", "offscreen", 0);
    const QApplication application(count, arguments);
    const int rounds = count > 1 ? std::atoi(arguments[1]) : 9;
    quorrel::countsProcessorTime = count > 2 && std::string_view(arguments[2]) == "--processor";
    std::_Exit(quorrel::run(std::max(1, rounds))); // the workers wait for servers that never answer
}
