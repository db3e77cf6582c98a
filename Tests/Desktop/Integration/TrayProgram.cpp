// SPDX-License-Identifier: GPL-3.0-or-later
#include "Desktop/ImageLoader.h"
#include "Desktop/QtStatusBar.h"
#include "Desktop/TrayHostWatch.h"
#include "Desktop/X11EmbeddingTray.h"
#include "Foundation/ActionTarget.h"
#include "Foundation/Menu.h"

#include <QApplication>
#include <QDBusConnection>
#include <QSocketNotifier>

#include <chrono>
#include <cstddef>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <malloc.h>
#include <memory>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

#ifdef __SANITIZE_ADDRESS__
extern "C" std::size_t __sanitizer_get_current_allocated_bytes(); // NOLINT: g++ 12 brings no header for it
#endif

// The tray on a real desktop, with a menu of names that are hard to show. It says what happens, a line each, and does
// what it reads: "rebuild COUNT" changes the whole menu so often, "trim" gives unused
// memory back, "quit" ends it.
namespace quorrel {
namespace {

void say(const std::string& line) {
    std::cout << line << std::endl;
}

const std::vector<std::string>& hardNames() {
    static const std::vector<std::string> names {
        "my_share_2",
        "_",
        "R&D & sales & more",
        "a_&_b",
        "a&_b_&",
        "ends in &",
        "tab\there",
        "line\nbreak",
        "שרת : מסמכים",
        "Über uns",
    };
    return names;
}

class TellingActions final : public ActionTarget {
public:
    void perform(Selector action, const MenuItem& sender) override {
        say("performed " + std::string(action) + " [" + sender.title + "] in ["
            + (sender.menu ? sender.menu->title() : "") + ']');
    }
    [[nodiscard]] ActionState validate(Selector) const override { return {}; }
};

class TrayProgram final {
public:
    explicit TrayProgram(std::chrono::milliseconds patience)
        : m_hosts(QDBusConnection::sessionBus(), std::make_unique<X11EmbeddingTray>(), patience)
        , m_bar(m_hosts, m_actions, m_images)
        , m_item(m_bar.statusItemWithLength(28.0)) {
        m_item->setImage({ "menubarIcon.png" });
        m_item->setAlternateImage({ "menubarIcon-neg.png" });
        m_item->setHighlightMode(true);
        fill(0);
        m_item->setMenu(m_menu);
        QObject::connect(&m_hosts, &TrayHostWatch::found, [] { say("found"); });
        QObject::connect(&m_hosts, &TrayHostWatch::noneFound, [] { say("none found"); });
        QObject::connect(&m_input, &QSocketNotifier::activated, [this] { obey(); });
        m_hosts.start();
    }

private:
    /// Every second filling has other rows, so that none is kept.
    void fill(int round) {
        const std::string suffix = round % 2 == 0 ? "" : " again";
        auto mountMenu = std::make_shared<Menu>("Mount");
        for (const auto* const host : { "mars", "host_1" }) {
            MenuItem item { host + suffix };
            item.submenu = std::make_shared<Menu>(item.title);
            item.image = Image { "drive.png", 16 };
            for (const auto& name : hardNames()) {
                auto share = MenuItem::command(name, "mountMenuItem");
                share.image = Image { "drive.png", 16 };
                item.submenu->addItem(std::move(share));
            }
            mountMenu->addItem(std::move(item));
        }
        MenuItem mount { "Mount" + suffix };
        mount.submenu = std::move(mountMenu);
        Menu::Items items { mount, MenuItem::separator() };
        for (const auto& name : hardNames())
            items.push_back(MenuItem::command(name + suffix, "mountFavroiteItem"));
        items.front().toolTip = "tip";
        items.back().indentationLevel = 2;
        auto hidden = MenuItem::command("hidden", "help");
        hidden.isHidden = true;
        items.push_back(hidden);
        auto disabled = MenuItem::command("disabled", "help");
        disabled.isEnabled = false;
        items.push_back(disabled);
        m_menu->replaceItems(0, m_menu->items().size(), std::move(items));
    }

    void obey() {
        std::string word;
        int count = 0;
        std::cin >> word;
        if (word == "rebuild" && std::cin >> count)
            rebuild(count);
        else if (word == "trim")
            trim();
        else
            QCoreApplication::exit(word == "quit" ? 0 : 1);
    }

    /// What a moment's crowd on the bus took stays with the process otherwise.
    static void trim() {
#ifdef __SANITIZE_ADDRESS__
        // Keeps what it gets back, to see who still uses it.
        say("trimmed to " + std::to_string(__sanitizer_get_current_allocated_bytes() / 1024));
#else
        malloc_trim(0);
        say("trimmed");
#endif
    }

    /// One a turn, as the renderer does.
    void rebuild(int left) {
        if (left == 0) {
            say("rebuilt");
            return;
        }
        fill(++m_round);
        QMetaObject::invokeMethod(
            qApp, [this, left] { rebuild(left - 1); }, Qt::QueuedConnection);
    }

    TellingActions m_actions;
    const ImageLoader m_images;
    const std::shared_ptr<Menu> m_menu = std::make_shared<Menu>("Quorrel");
    TrayHostWatch m_hosts;
    QtStatusBar m_bar;
    std::unique_ptr<StatusItem> m_item;
    QSocketNotifier m_input { STDIN_FILENO, QSocketNotifier::Read };
    int m_round = 0;
};

} // namespace
} // namespace quorrel

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    const std::chrono::milliseconds patience(argc > 1 ? std::atoi(argv[1]) : 5000);
    const quorrel::TrayProgram program(patience);
    return QApplication::exec();
}
