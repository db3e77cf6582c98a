// SPDX-License-Identifier: GPL-3.0-or-later
#include "Desktop/AboutPanel.h"
#include "Desktop/AlertBox.h"
#include "Desktop/CatalogueWindow.h"
#include "Desktop/ImageLoader.h"
#include "Desktop/PasswordForm.h"
#include "Desktop/PreferencesDialog.h"
#include "Desktop/SaveAlert.h"
#include "Desktop/ShownText.h"
#include "Platform/Application.h"
#include "Platform/PasswordWindow.h"
#include "Sources/CatalogueLists.h"
#include "Sources/LoginItem.h"
#include "Tests/Desktop/AddMountFixture.h"
#include "Tests/Desktop/PaintedTexts.h"
#include "Tests/Desktop/Translation.h"
#include "Tests/Desktop/WidgetWalk.h"
#include "Tests/Fakes/FakeLoginItems.h"

#include <gmock/gmock.h>

#include <QAction>
#include <QLabel>
#include <QListView>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QTabBar>
#include <QTabWidget>
#include <QToolButton>

#include <map>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

namespace quorrel {
namespace {

using testing::IsEmpty;

constexpr QChar dots(0x2026);

/// Somebody who has to give a password.
class Target final : public PasswordWindowTarget {
public:
    [[nodiscard]] std::string hostName() const override { return "diskstation.example.org"; }
    [[nodiscard]] std::string shareName() const override { return "holiday photos"; }
    [[nodiscard]] std::string password() const override { return {}; }
    void setPassword(const std::string&) override { }
    void saveHostPassword() override { }
    void cancelhostPassword() override { }
};

/// Each window in one language, laid out in one direction.
class LanguagesTest : public AddMountFixture,
                      public testing::WithParamInterface<std::tuple<std::string, Qt::LayoutDirection>> {
protected:
    LanguagesTest()
        : AddMountFixture(Translation::texts(std::get<0>(GetParam()))) {
        QApplication::setLayoutDirection(std::get<1>(GetParam()));
    }
    ~LanguagesTest() override {
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QApplication::setLayoutDirection(Qt::LayoutDirectionAuto);
    }

    [[nodiscard]] QString shown(const char* key) const { return QString::fromStdString(strings.text(key)); }

    /// Texts of the widgets below that do not fit, end in dots that are not theirs, or share a key.
    static void expectAllIsReadable(QWidget& shown) {
        EXPECT_TRUE(QTest::qWaitFor([&] { return WidgetWalk::cutTexts(shown).empty(); }));
        EXPECT_THAT(WidgetWalk::cutTexts(shown), IsEmpty());
        EXPECT_THAT(WidgetWalk::ambiguousMnemonics(shown), IsEmpty());
        EXPECT_THAT(WidgetWalk::withoutMnemonic(shown), IsEmpty());
        EXPECT_THAT(WidgetWalk::withoutAccessibleName(shown), IsEmpty());
        EXPECT_THAT(WidgetWalk::outsideTheirParents(shown), IsEmpty());
        EXPECT_LE(shown.width(), 1024);
        EXPECT_LE(shown.height(), 700);
        for (const auto* line : shown.findChildren<QLineEdit*>())
            EXPECT_LE(line->fontMetrics().horizontalAdvance(line->placeholderText()), line->width());
        for (const auto* bar : shown.findChildren<QTabBar*>()) {
            EXPECT_LE(bar->sizeHint().width(), bar->parentWidget()->width()) << "tabs would have to be scrolled";
            std::map<QString, int> keys;
            for (int tab = 0; tab < bar->count(); ++tab)
                EXPECT_EQ(keys[QKeySequence::mnemonic(bar->tabText(tab)).toString()]++, 0)
                    << bar->tabText(tab).toStdString();
        }
    }

    static void expectKeysAreUnambiguous(const QWidget& menu) {
        std::map<QString, QString> keys;
        for (const auto* action : menu.actions()) {
            if (action->isSeparator())
                continue;
            const auto key = QKeySequence::mnemonic(action->text()).toString();
            EXPECT_FALSE(key.isEmpty()) << action->text().toStdString();
            EXPECT_FALSE(keys.contains(key)) << keys[key].toStdString() << " and " << action->text().toStdString();
            keys[key] = action->text();
        }
    }

    void expectAlertIsReadable(const std::string& title, const std::string& message, const char* yes, const char* no) {
        auto* box = new AlertBox(&window, QMessageBox::Warning, title, message);
        for (const auto* button : { yes, no })
            if (button)
                box->addButton(shown(button), QMessageBox::AcceptRole);
        box->open();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(box));
        for (const auto* label : box->findChildren<QLabel*>())
            EXPECT_GE(label->height(), label->heightForWidth(label->width())) << label->text().toStdString();
        EXPECT_THAT(WidgetWalk::cutTexts(*box), IsEmpty()) << title;
        EXPECT_LE(box->width(), 1024);
        box->close();
    }

    ImageLoader images;
};

TEST_P(LanguagesTest, theMainWindow) {
    HostListController list { [](const std::shared_ptr<HostDefinition>& host, std::string_view) {
        return textOf(host->displayName.get());
    } };
    SharePointListController shares { [](const std::shared_ptr<SharePointDefinition>& share, std::string_view) {
        return textOf(share->sharePoint.get());
    } };
    const auto host = addHost("diskstation.local", {});
    for (const auto* service : { afp, smb, webDav, secureWebDav, ftp }) {
        addService(host, service);
        const auto guests = addSharePoint(host, service, "music");
        guests->guestLogin.set(true);
        addSharePoint(host, service, "photos")->userName.set("anna");
    }
    const auto all = host->sharePoints.snapshot();
    all[0]->setResolved(true);
    all[1]->setResolved(false);
    all[2]->setResolving(true);
    all[3]->setMounting(true);
    all[4]->setMounted(true);
    all[5]->setMounted(false);
    all[6]->setUnmounting(true);
    list.setContent({ host });
    list.setSelectedObjects({ host });
    shares.setContent(all);

    CatalogueWindow main(environment, images);
    main.bindHostsList(&list);
    main.bindMountsList(&shares);
    main.makeKeyAndOrderFront();
    auto& view = *main.widget();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&view));
    mainThreadQueue.runPending();
    QApplication::processEvents();
    expectAllIsReadable(view);
    EXPECT_FALSE(named<QToolButton>(view, "qt_toolbar_ext_button").isVisible()) << "a button has no place";

    QStringList painted;
    for (const auto* name : { "hostsList", "sharePointsList" })
        painted += paintedTexts(*named<QListView>(view, name).viewport());
    EXPECT_THAT(painted.filter(dots).join('|').toStdString(), IsEmpty());
    const auto everything = painted.join(QString());
    for (const auto* status :
        { "Resolved", "Resolve Failed", "Resolving", "Mounting", "Online", "Offline", "Unmounting" })
        EXPECT_TRUE(everything.contains(shown(status))) << status << " is not in " << everything.toStdString();

    expectKeysAreUnambiguous(named<QMenuBar>(view, "menuBar"));
    for (const auto* menu : view.findChildren<QMenu*>())
        if (!menu->objectName().isEmpty())
            expectKeysAreUnambiguous(*menu);
    shares.setContent({});
    expectAllIsReadable(view);
    list.setContent({});
    mainThreadQueue.runPending();
    expectAllIsReadable(view);
    view.close();
}

TEST_P(LanguagesTest, theShareEditor) {
    const auto host = addHost("diskstation", { "music", "photos" });
    auto& sheet = edit(host->sharePointForName("music"));
    expectAllIsReadable(sheet);
    type(sheet, "sharePoint", "photos");
    click(sheet, "save");
    closedAlert();
    expectAllIsReadable(sheet);
    EXPECT_LE(sheet.height(), 600);
}

TEST_P(LanguagesTest, thePreferences) {
    FakeLoginItems loginItems;
    LoginItem loginItem { loginItems, "/opt/quorrel" };
    PreferencesDialog preferencesWindow { environment, loginItem, "/home/ann/.local/state/Quorrel/Quorrel.log" };
    preferencesWindow.center();
    preferencesWindow.makeKeyAndOrderFront();
    auto& shown = *preferencesWindow.window();
    auto& tabs = named<QTabWidget>(shown, "preferencesTabs");
    for (int tab = 0; tab < tabs.count(); ++tab) {
        tabs.setCurrentIndex(tab);
        expectAllIsReadable(shown);
    }
}

TEST_P(LanguagesTest, thePasswordPrompt) {
    Target target;
    PasswordForm prompt(environment, target);
    prompt.show();
    expectAllIsReadable(prompt);
}

TEST_P(LanguagesTest, theAboutPanel) {
    AboutPanel panel { environment, images };
    panel.show({ "Quorrel", "1.0.0", strings.text("Keeps network shares mounted."),
        strings.text("GNU General Public License, version 3 or later") });
    expectAllIsReadable(*panel.window());
}

TEST_P(LanguagesTest, theAlerts) {
    expectAlertIsReadable(strings.text("Do you really want to delete the selected share definition?"),
        strings.text("There is no undo for this operation."), "Remove", "Cancel");
    expectAlertIsReadable(strings.text("Do you want to give up the share you were editing?"),
        strings.text("It is no longer in the catalogue. Only saving it under another name brings it back."), "Give Up",
        "Keep Editing");
    for (const auto* message : { "Server Name is a needed field.", "Share name is a needed field",
             "User Name needed, or check the guest login option" })
        expectAlertIsReadable(strings.text("Hey!"), strings.text(message), "Ok", nullptr);
    expectAlertIsReadable(strings.text("There is no tray"),
        strings.text("This desktop has no place for Quorrel's icon. Quorrel goes on without it: start it again to get "
                     "its window back."),
        "OK", nullptr);
    SaveAlert saves { strings };
    const std::string file = "/home/ann/.local/share/Quorrel/Quorrel2.plist";
    saves.show(file, "No space left on device");
    saves.showKept(file);
    for (auto* each : QApplication::topLevelWidgets()) {
        if (dynamic_cast<AlertBox*>(each) && each->isVisible()) {
            EXPECT_THAT(WidgetWalk::cutTexts(*each), IsEmpty());
        }
    }
}

TEST_P(LanguagesTest, aTitleIsSaidWithoutItsKey) {
    for (const auto* key : { "&Mount", "&Add Share…", "Server &name:", "Shar&es" }) {
        const auto title = ShownText::withoutMnemonic(shown(key)).toStdString();
        EXPECT_EQ(title.find('&'), std::string::npos) << title;
        EXPECT_EQ(title.find('('), std::string::npos) << title;
        EXPECT_FALSE(title.empty());
    }
}

INSTANTIATE_TEST_SUITE_P(Each, LanguagesTest,
    testing::Combine(testing::ValuesIn(Translation::languages()), testing::Values(Qt::LeftToRight, Qt::RightToLeft)),
    [](const auto& each) {
        return std::get<0>(each.param) + (std::get<1>(each.param) == Qt::RightToLeft ? "_mirrored" : "");
    });

} // namespace
} // namespace quorrel
