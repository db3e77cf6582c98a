// SPDX-License-Identifier: GPL-3.0-or-later
#include "Desktop/PreferencesDialog.h"

#include "Desktop/DesktopEnvironment.h"
#include "Foundation/MainThreadQueue.h"
#include "Foundation/Preferences.h"
#include "Sources/LoginItem.h"
#include "Tests/Desktop/WidgetWalk.h"
#include "Tests/Fakes/FakeActionTarget.h"
#include "Tests/Fakes/FakeLoginItems.h"
#include "Tests/Fakes/FakePreferencesStore.h"

#include <gmock/gmock.h>

#include <QApplication>
#include <QCheckBox>
#include <QDialog>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QScreen>
#include <QTabWidget>
#include <QTest>
#include <QToolButton>

#include <memory>
#include <optional>
#include <thread>

namespace quorrel {

using testing::ElementsAre;
using testing::IsEmpty;

class PreferencesDialogTest : public testing::Test {
protected:
    void open() {
        dialog->center();
        dialog->orderFrontRegardless();
        dialog->makeKeyAndOrderFront();
    }
    template <typename Widget = QCheckBox>
    [[nodiscard]] Widget& find(const char* name) const {
        auto* widget = dialog->window()->findChild<Widget*>(name);
        if (!widget)
            throw std::runtime_error(std::string("no ") + name);
        return *widget;
    }
    [[nodiscard]] int selectedTab() const { return find<QTabWidget>("preferencesTabs").currentIndex(); }
    /// Whether the user sees the box in the state that the preference has.
    [[nodiscard]] bool isProblemShown() const { return find<QLabel>("preferencesProblem").isVisible(); }
    /// Goes to the tab that the widget is on, as a user has to.
    template <typename Widget = QCheckBox>
    Widget& reach(const char* name) {
        auto& widget = find<Widget>(name);
        auto& tabs = find<QTabWidget>("preferencesTabs");
        for (int index = 0; index < tabs.count(); ++index)
            if (tabs.widget(index)->isAncestorOf(&widget))
                tabs.setCurrentIndex(index);
        return widget;
    }

    FakeActionTarget actions;
    StringTable strings;
    std::shared_ptr<FakePreferencesStore> store = std::make_shared<FakePreferencesStore>();
    Preferences preferences { store };
    MainThreadQueue queue;
    DesktopEnvironment environment { actions, strings, preferences, queue };
    FakeLoginItems loginItems;
    LoginItem loginItem { loginItems, "/opt/quorrel" };
    std::unique_ptr<PreferencesDialog> dialog
        = std::make_unique<PreferencesDialog>(environment, loginItem, "/home/ann/.local/state/Quorrel/Quorrel.log");
};

/// A language with words twice as long.
class LongStringTable final : public StringTable {
public:
    [[nodiscard]] std::string text(std::string_view key) const override {
        auto more = std::string(key);
        std::erase(more, '&');
        return std::string(key) + " " + more;
    }
};

constexpr const char* flagKeys[] { "unmountDrives", "logToConsole", "BrowseForServices", "afp", "smb", "http", "ftp",
    "scanForSMBHosts", "lookUpHostFile" };

TEST_F(PreferencesDialogTest, thereIsNoWindowUntilItIsUsed) {
    EXPECT_EQ(dialog->window(), nullptr);
    open();
    ASSERT_NE(dialog->window(), nullptr);
    EXPECT_TRUE(dialog->window()->isVisible());
    EXPECT_FALSE(dialog->window()->isModal());
    EXPECT_TRUE(QTest::qWaitForWindowActive(dialog->window()));
}

TEST_F(PreferencesDialogTest, everyBoxSetsItsPreferenceAtOnce) {
    open();
    for (const char* key : flagKeys) {
        auto& box = reach(key);
        EXPECT_FALSE(box.isChecked()) << key;
        QTest::mouseClick(&box, Qt::LeftButton, {}, { 5, box.height() / 2 });
        EXPECT_EQ(store->values(), (PreferenceValues { { key, true } })) << key;
        QTest::keyClick(&box, Qt::Key_Space);
        EXPECT_EQ(preferences.value(key), std::optional<PreferenceValue>(false)) << key;
        preferences.set(key, std::nullopt);
    }
    EXPECT_EQ(actions.takePerformed(), std::vector<std::string>());
}

TEST_F(PreferencesDialogTest, boxesShowWhatIsSetWhenTheWindowIsMade) {
    preferences.set("smb", true);
    preferences.set("monitorConnectivityHost", "files.lan");
    open();
    EXPECT_TRUE(find("smb").isChecked());
    EXPECT_FALSE(find("ftp").isChecked());
    EXPECT_EQ(find<QLineEdit>("monitorConnectivityHost").text(), "files.lan");
}

TEST_F(PreferencesDialogTest, boxesFollowWhatAnyThreadSets) {
    open();
    const int saves = store->saveCount();
    for (const char* key : flagKeys) {
        std::thread([&] { preferences.set(key, true); }).join();
        EXPECT_FALSE(find(key).isChecked()) << key;
        queue.runPending();
        EXPECT_TRUE(find(key).isChecked()) << key;
    }
    queue.runPending();
    EXPECT_EQ(store->saveCount(), saves + static_cast<int>(std::size(flagKeys)));
    EXPECT_FALSE(isProblemShown());
}

TEST_F(PreferencesDialogTest, theHostIsStoredWithEachKeystroke) {
    open();
    auto& host = reach<QLineEdit>("monitorConnectivityHost");
    QTest::keyClicks(&host, "nas");
    EXPECT_EQ(preferences.text("monitorConnectivityHost"), "nas");
    QTest::keyClick(&host, Qt::Key_Return);
    EXPECT_TRUE(dialog->window()->isVisible());
    queue.runPending();
    QTest::keyClicks(&host, ".lan");
    EXPECT_EQ(preferences.text("monitorConnectivityHost"), "nas.lan");
    host.clear();
    EXPECT_EQ(preferences.text("monitorConnectivityHost"), "");
    EXPECT_EQ(host.placeholderText(), "example.com");
}

TEST_F(PreferencesDialogTest, typingIsNotDisturbedByItsOwnEcho) {
    open();
    auto& host = reach<QLineEdit>("monitorConnectivityHost");
    QTest::keyClicks(&host, "naslan");
    host.setCursorPosition(3);
    QTest::keyClicks(&host, ".");
    queue.runPending();
    EXPECT_EQ(host.text(), "nas.lan");
    EXPECT_EQ(host.cursorPosition(), 4);
    host.setText("  nas.lan ");
    queue.runPending();
    EXPECT_EQ(host.text(), "  nas.lan ");
    EXPECT_EQ(preferences.text("monitorConnectivityHost"), "nas.lan");
    preferences.set("monitorConnectivityHost", "other.lan");
    queue.runPending();
    EXPECT_EQ(host.text(), "other.lan");
}

TEST_F(PreferencesDialogTest, theKindsCanBeSwitchedWhileBrowsingIsOff) {
    preferences.set("BrowseForServices", false);
    open();
    for (const char* key : { "afp", "smb", "http", "ftp" })
        EXPECT_TRUE(find(key).isEnabled()) << key;
}

TEST_F(PreferencesDialogTest, aChangeThatCannotBeStoredIsToldUntilOneIs) {
    open();
    EXPECT_FALSE(isProblemShown());
    store->failSaves(true);
    QTest::keyClick(&reach("ftp"), Qt::Key_Space);
    EXPECT_TRUE(isProblemShown());
    EXPECT_TRUE(find("ftp").isChecked());
    EXPECT_TRUE(QTest::qWaitFor([&] { return WidgetWalk::cutTexts(*dialog->window()).empty(); }));
    store->failSaves(false);
    QTest::keyClick(&reach("http"), Qt::Key_Space);
    EXPECT_FALSE(isProblemShown());
}

TEST_F(PreferencesDialogTest, theLoginItemIsReadEachTimeTheWindowOpens) {
    open();
    EXPECT_FALSE(find("openAtLogin").isChecked());
    dialog->window()->close();
    loginItems.put("/opt/quorrel");
    open();
    EXPECT_TRUE(find("openAtLogin").isChecked());
    EXPECT_EQ(loginItems.paths().size(), 1U);
}

TEST_F(PreferencesDialogTest, theBoxForTheLoginItemAddsAndRemovesIt) {
    open();
    QTest::keyClick(&reach("openAtLogin"), Qt::Key_Space);
    EXPECT_THAT(loginItems.paths(), ElementsAre("/opt/quorrel"));
    QTest::keyClick(&reach("openAtLogin"), Qt::Key_Space);
    EXPECT_THAT(loginItems.paths(), IsEmpty());
    EXPECT_FALSE(isProblemShown());
}

TEST_F(PreferencesDialogTest, aLoginItemThatCannotBeStoredSetsTheBoxBack) {
    open();
    loginItems.failChanges(true);
    QTest::keyClick(&reach("openAtLogin"), Qt::Key_Space);
    EXPECT_FALSE(find("openAtLogin").isChecked());
    EXPECT_TRUE(isProblemShown());
    dialog->window()->close();
    open();
    EXPECT_FALSE(isProblemShown());
}

TEST_F(PreferencesDialogTest, theTabsHaveNumbersAsIdentifiers) {
    for (int number = 3; number >= 1; --number) {
        dialog->selectTabViewItemWithIdentifier(std::to_string(number));
        EXPECT_EQ(selectedTab(), number - 1);
    }
}

TEST_F(PreferencesDialogTest, anIdentifierThatNoTabHasLeavesTheSelection) {
    dialog->selectTabViewItemWithIdentifier("2");
    for (const char* identifier : { "0", "4", "-1", "", "01", "2 ", "General", "99999999999999999999" }) {
        dialog->selectTabViewItemWithIdentifier(identifier);
        EXPECT_EQ(selectedTab(), 1) << identifier;
    }
}

TEST_F(PreferencesDialogTest, theWindowIsCentredEachTimeItIsShown) {
    open();
    auto& window = *dialog->window();
    const auto middle = window.screen()->availableGeometry().center();
    // Before a window is shown its frame is not known.
    const auto isCentred = [&] { return (window.frameGeometry().center() - middle).manhattanLength() <= 10; };
    EXPECT_TRUE(isCentred());
    window.move(0, 0);
    EXPECT_FALSE(isCentred());
    window.close();
    open();
    EXPECT_TRUE(isCentred());
}

TEST_F(PreferencesDialogTest, EscapeAndTheShortcutAndTheButtonCloseIt) {
    open();
    auto& window = *dialog->window();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    QTest::keyClick(&window, Qt::Key_Escape);
    EXPECT_FALSE(window.isVisible());
    open();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    QTest::keyClick(&window, Qt::Key_W, Qt::ControlModifier);
    EXPECT_FALSE(window.isVisible());
    open();
    QTest::mouseClick(&find<QWidget>("closePreferences"), Qt::LeftButton);
    EXPECT_FALSE(window.isVisible());
}

TEST_F(PreferencesDialogTest, keyboardAndScreenReaderReachEverythingOnEachTab) {
    open();
    for (const char* identifier : { "1", "2", "3" }) {
        dialog->selectTabViewItemWithIdentifier(identifier);
        const auto& window = *dialog->window();
        EXPECT_THAT(WidgetWalk::withoutObjectName(window), IsEmpty()) << identifier;
        EXPECT_THAT(WidgetWalk::withoutAccessibleName(window), IsEmpty()) << identifier;
        EXPECT_THAT(WidgetWalk::withoutMnemonic(window), IsEmpty()) << identifier;
        EXPECT_THAT(WidgetWalk::ambiguousMnemonics(window), IsEmpty()) << identifier;
        EXPECT_THAT(WidgetWalk::cutTexts(window), IsEmpty()) << identifier;
    }
}

TEST_F(PreferencesDialogTest, theLogFilesPlaceCanBeHeard) {
    open();
    auto& path = find<QLabel>("logFile");
    EXPECT_EQ(WidgetWalk::accessibleName(path), path.text().toStdString());
    EXPECT_EQ(path.accessibleDescription(), "Log file");
}

TEST_F(PreferencesDialogTest, theButtonThatClearsTheHostHasAName) {
    open();
    auto* clear = reach<QLineEdit>("monitorConnectivityHost").findChild<QToolButton*>();
    ASSERT_TRUE(clear);
    EXPECT_EQ(WidgetWalk::accessibleName(*clear), "Clear");
}

TEST_F(PreferencesDialogTest, longerLanguagesFit) {
    const LongStringTable longTexts;
    const DesktopEnvironment other { actions, longTexts, preferences, queue };
    PreferencesDialog wide(other, loginItem, "/home/a-name-that-is-not-short/.local/state/Quorrel/Quorrel.log");
    wide.orderFrontRegardless();
    store->failSaves(true);
    for (const char* identifier : { "1", "2", "3" }) {
        wide.selectTabViewItemWithIdentifier(identifier);
        wide.window()->findChild<QCheckBox*>("ftp")->click();
        EXPECT_TRUE(QTest::qWaitFor([&] { return WidgetWalk::cutTexts(*wide.window()).empty(); })) << identifier;
    }
}

TEST_F(PreferencesDialogTest, theTabKeyGoesDownThePage) {
    dialog->selectTabViewItemWithIdentifier("2");
    open();
    EXPECT_THAT(WidgetWalk::tabOrder(*dialog->window()),
        ElementsAre("preferencesTabBar", "BrowseForServices", "afp", "smb", "http", "ftp", "scanForSMBHosts",
            "lookUpHostFile", "closePreferences"));
}

TEST_F(PreferencesDialogTest, changesAfterItsEndReachNobody) {
    open();
    const QPointer<QDialog> window = dialog->window();
    preferences.set("smb", true);
    dialog.reset();
    EXPECT_TRUE(window.isNull());
    queue.runPending();
    preferences.set("smb", false);
    queue.runPending();
}

} // namespace quorrel
