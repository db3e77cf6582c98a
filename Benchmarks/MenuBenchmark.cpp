// SPDX-License-Identifier: GPL-3.0-or-later
#include "Benchmarks/BenchmarkProgram.h"
#include "Benchmarks/HeapUse.h"
#include "Benchmarks/Timing.h"
#include "Sources/MenuLayout.h"
#include "Sources/SharePointDefinition.h"
#include "Tests/Fakes/ThreadTime.h"

#include <QAction>
#include <QApplication>
#include <QIcon>
#include <QMenu>
#include <QPixmap>
#include <QString>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

// What it costs to make the status item's menus anew from a large catalogue: in the program's own model, and in the
// toolkit's menus with the same items, as a program without a model would. Both read the same records, and take turns.
// A view draws from the model only what differs from what it drew last; a menu of the toolkit is made whole.

namespace quorrel {

namespace {

constexpr std::int64_t hostCount = 1'000;
constexpr double target = 16; // milliseconds: a frame

QIcon icon(Qt::GlobalColor color) {
    QPixmap pixmap(16, 16);
    pixmap.fill(color);
    return pixmap;
}

/// The same menus, made of the toolkit's from the records.
class PlainMenus final {
public:
    using Hosts = std::vector<std::shared_ptr<HostDefinition>>;

    void rebuild(const Hosts& hosts) {
        for (auto* menu : { &m_mount, &m_unmount })
            addHosts(*menu, hosts);
        addFavourites(hosts);
    }

    [[nodiscard]] std::size_t items() const {
        std::size_t result = 0;
        for (const auto* menu : { &m_mount, &m_unmount })
            for (const auto* action : menu->actions())
                result += 1 + static_cast<std::size_t>(action->menu()->actions().size());
        return result + static_cast<std::size_t>(m_favourites.actions().size());
    }

    [[nodiscard]] int triggered() const { return m_triggered; }

private:
    void addHosts(QMenu& menu, const Hosts& hosts) {
        // Clearing a menu does not delete the submenus in it.
        for (auto* child : menu.findChildren<QMenu*>(QString(), Qt::FindDirectChildrenOnly))
            delete child;
        menu.clear();
        std::set<std::string> names;
        for (const auto& host : hosts) {
            const auto name = textOf(host->displayName.get());
            if (!names.insert(name).second)
                continue;
            auto* submenu = menu.addMenu(m_host, QString::fromStdString(name));
            act(submenu->addAction("Server"));
            submenu->addSeparator();
            for (const auto& sharePoint : host->sharePoints.snapshot())
                if (const auto share = textOf(sharePoint->sharePoint.get()); !share.empty())
                    act(submenu->addAction(m_drive, QString::fromStdString(share)));
        }
    }

    void addFavourites(const Hosts& hosts) {
        m_favourites.clear();
        std::vector<QString> titles;
        for (const auto& host : hosts)
            for (const auto& sharePoint : host->sharePoints.snapshot())
                if (isSet(sharePoint->favroite.get()))
                    titles.push_back(QString::fromStdString(
                        textOf(host->displayName.get()) + " : " + textOf(sharePoint->sharePoint.get())));
        std::reverse(titles.begin(), titles.end());
        for (const auto& title : titles) {
            auto* action = m_favourites.addAction(m_drive, title);
            action->setToolTip(title);
            act(action);
        }
    }

    void act(QAction* action) {
        QObject::connect(action, &QAction::triggered, [this] { ++m_triggered; });
    }

    const QIcon m_host = icon(Qt::blue);
    const QIcon m_drive = icon(Qt::gray);
    QMenu m_mount;
    QMenu m_unmount;
    QMenu m_favourites;
    int m_triggered = 0;
};

std::size_t itemsOfModel(const QuorrelAppDelegate& controller) {
    std::size_t result = 0;
    for (const auto& menu : { controller.mountMenu, controller.unmountMenu })
        for (const auto& item : menu->items())
            result += 1 + item.submenu->items().size();
    const auto& popMenu = *controller.popMenu;
    return result + popMenu.indexOfItemWithTag(MenuLayout::endMarkerTag).value_or(0)
        - popMenu.indexOfItemWithTag(MenuLayout::startMarkerTag).value_or(0) - 2; // without the header
}

/// Of the processor: whatever else the machine does is not counted, and neither side waits for anything.
template <typename Work>
double timeOf(const Work& work) {
    const auto start = threadTime();
    work();
    return (threadTime() - start).count() * 1000;
}

int run(int rounds) {
    BenchmarkParts::NoStatusBar bar;
    BenchmarkParts::NoTimers timers;
    const StatusBarEnvironment statusBar { bar, timers };
    BenchmarkProgram program(hostCount * BenchmarkProgram::sharePointsOfAHost, &statusBar);
    auto& controller = program.controller;
    PlainMenus plainMenus;
    const auto model = [&] { controller.makeMountpopMenu(); };
    const auto plain = [&] { plainMenus.rebuild(controller.hosts.snapshot()); };

    controller.applicationDidFinishLaunching();
    const auto hosts = controller.hosts.snapshot();
    controller.hosts.removeAll();
    model();
    controller.hosts.replace(hosts);

    // The first building warms both up, and leaves what each rebuilding takes down.
    const double plainBytes = heapGrowth(plain);
    const double modelBytes = heapGrowth(model);
    if (itemsOfModel(controller) != plainMenus.items() || plainMenus.triggered() != 0) {
        std::fprintf(stderr, "menu_benchmark: %zu items in the model, %zu in the toolkit's menus\n",
            itemsOfModel(controller), plainMenus.items());
        return 1;
    }
    std::vector<double> ours;
    std::vector<double> theirs;
    for (int round = 0; round < rounds; ++round) {
        if (round % 2 == 0)
            ours.push_back(timeOf(model));
        theirs.push_back(timeOf(plain));
        if (round % 2 == 1)
            ours.push_back(timeOf(model));
    }
    const double mine = median(ours);
    const double other = median(theirs);
    constexpr double megabyte = 1024.0 * 1024.0;
    std::printf("%zu items, medians of %d      model    plain menus   ratio   target\n", plainMenus.items(), rounds);
    std::printf("one rebuild            %10.2f ms  %10.2f ms  %6.3f  %5.0f ms\n", mine, other, mine / other, target);
    std::printf("memory                 %10.2f MB  %10.2f MB  %6.3f\n", modelBytes / megabyte, plainBytes / megabyte,
        modelBytes / plainBytes);
    return mine < target ? 0 : 2;
}

} // namespace

} // namespace quorrel

int main(int count, char** arguments) {
    ::setenv("QT_QPA_PLATFORM", "offscreen", 0);
    const QApplication application(count, arguments);
    const int rounds = count > 1 ? std::atoi(arguments[1]) : 31;
    return quorrel::run(std::max(1, rounds));
}
