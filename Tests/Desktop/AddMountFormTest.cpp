// SPDX-License-Identifier: GPL-3.0-or-later
#include "Desktop/AddMountForm.h"

#include "Desktop/ShownText.h"
#include "Foundation/TextList.h"
#include "Tests/Desktop/AddMountFixture.h"
#include "Tests/Desktop/WidgetWalk.h"
#include "Tests/Fakes/HostileNames.h"
#include "Tests/Fakes/ThreadTime.h"

#include <gmock/gmock.h>

#include <QAbstractItemView>
#include <QAccessible>
#include <QCompleter>
#include <QSpinBox>

#include <limits>
#include <string>
#include <vector>

namespace quorrel {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class AddMountFormTest : public AddMountFixture {
protected:
    /// A share point with something in each field.
    std::shared_ptr<SharePointDefinition> fullSharePoint() {
        auto result = addHost("diskstation", { "photos" })->sharePointForName("photos");
        result->password.set("secret");
        result->passwordPrompt.set(true);
        result->guestLogin.set(true);
        result->automatically.set(false);
        result->favroite.set(true);
        result->script.set("/bin/after");
        result->scriptArguments.set("-v \"x y\"");
        result->isDelayed.set(true);
        result->delaySeconds.set(15);
        return result;
    }
};

TEST_F(AddMountFormTest, EachControlShowsItsField) {
    auto& sheet = edit(fullSharePoint());
    EXPECT_EQ(named<QComboBox>(sheet, "serverName").currentText(), "diskstation");
    EXPECT_EQ(named<QComboBox>(sheet, "service").currentText(), smb);
    EXPECT_EQ(named<QLineEdit>(sheet, "sharePoint").text(), "photos");
    EXPECT_EQ(named<QLineEdit>(sheet, "userName").text(), "anna");
    EXPECT_EQ(named<QLineEdit>(sheet, "password").text(), "secret");
    EXPECT_EQ(named<QLineEdit>(sheet, "password").echoMode(), QLineEdit::Password);
    EXPECT_TRUE(named<QCheckBox>(sheet, "passwordPrompt").isChecked());
    EXPECT_TRUE(named<QCheckBox>(sheet, "guestLogin").isChecked());
    EXPECT_FALSE(named<QCheckBox>(sheet, "automatically").isChecked());
    EXPECT_TRUE(named<QCheckBox>(sheet, "favroite").isChecked());
    EXPECT_EQ(named<QLineEdit>(sheet, "script").text(), "/bin/after");
    EXPECT_EQ(named<QLineEdit>(sheet, "scriptArguments").text(), "-v \"x y\"");
    EXPECT_TRUE(named<QCheckBox>(sheet, "isDelayed").isChecked());
    EXPECT_EQ(named<QSpinBox>(sheet, "delaySeconds").value(), 15);
}

TEST_F(AddMountFormTest, EachKeystrokeIsInItsFieldAtOnce) {
    auto& sheet = add();
    const std::vector<std::pair<const char*, Property<OptionalText>*>> texts { { "sharePoint",
                                                                                   &controller->_SharePoint },
        { "userName", &controller->_UserName }, { "password", &controller->_Password },
        { "script", &controller->_script }, { "scriptArguments", &controller->_scriptArguments } };
    for (const auto& [name, field] : texts) {
        auto& control = named<QLineEdit>(sheet, name);
        QTest::keyClicks(&control, "ab");
        EXPECT_EQ(field->get(), "ab") << name;
        QTest::keyClick(&control, Qt::Key_Backspace);
        QTest::keyClick(&control, Qt::Key_Backspace);
        EXPECT_EQ(field->get(), "") << name;
    }
    QTest::keyClicks(named<QComboBox>(sheet, "serverName").lineEdit(), "na");
    EXPECT_EQ(controller->_Name.get(), "na");
    choose(sheet, "Secure");
    EXPECT_EQ(controller->_DisplayType.get(), secureWebDav);
    const std::vector<std::pair<const char*, Property<OptionalFlag>*>> flags {
        { "passwordPrompt", &controller->_PasswordPrompt }, { "guestLogin", &controller->_GuestLogin },
        { "favroite", &controller->_Favroite }, { "isDelayed", &controller->_isDelayed }
    };
    for (const auto& [name, field] : flags) {
        click(sheet, name);
        EXPECT_EQ(field->get(), true) << name;
    }
    click(sheet, "automatically");
    EXPECT_EQ(controller->_Automatically.get(), false);
    named<QSpinBox>(sheet, "delaySeconds").selectAll();
    QTest::keyClicks(&named<QSpinBox>(sheet, "delaySeconds"), "12");
    EXPECT_EQ(controller->_delaySeconds.get(), 12);
}

TEST_F(AddMountFormTest, ControlsFollowTheirFieldsAndTheCursorStaysWhereItIs) {
    auto& sheet = add();
    auto& user = named<QLineEdit>(sheet, "userName");
    QTest::keyClicks(&user, "ac");
    user.setCursorPosition(1);
    QTest::keyClicks(&user, "b");
    EXPECT_EQ(user.text(), "abc");
    EXPECT_EQ(user.cursorPosition(), 2);
    controller->_script.set("/elsewhere");
    controller->_Automatically.set(false);
    controller->_Name.set("nas");
    EXPECT_EQ(named<QLineEdit>(sheet, "script").text(), "/elsewhere");
    EXPECT_FALSE(named<QCheckBox>(sheet, "automatically").isChecked());
    EXPECT_EQ(named<QComboBox>(sheet, "serverName").currentText(), "nas");
    EXPECT_EQ(user.cursorPosition(), 2);
}

TEST_F(AddMountFormTest, AssistiveToolsChooseByRow) {
    addHost("archive", {});
    addHost("nas", {});
    auto& sheet = add();
    const auto selectRow = [&](const char* name, const std::string& text) {
        auto* rows = QAccessible::queryAccessibleInterface(named<QComboBox>(sheet, name).view());
        for (int row = 0; row < rows->childCount(); ++row)
            if (rows->child(row)->text(QAccessible::Name).toStdString() == text)
                rows->child(row)->actionInterface()->doAction(QAccessibleActionInterface::toggleAction());
        QCoreApplication::processEvents();
    };
    for (const std::string service : { secureWebDav, smb, afp }) {
        selectRow("service", service);
        EXPECT_EQ(controller->_DisplayType.get(), service);
    }
    for (const std::string server : { "nas", "archive" }) {
        selectRow("serverName", server);
        EXPECT_EQ(controller->_Name.get(), server);
    }
}

TEST_F(AddMountFormTest, PointingAtARowOrGoingToItChoosesNothing) {
    auto& sheet = add();
    auto& service = named<QComboBox>(sheet, "service");
    service.showPopup();
    QTest::keyClick(service.view(), Qt::Key_Down);
    QCoreApplication::processEvents();
    EXPECT_EQ(service.view()->currentIndex().row(), 1);
    QTest::mouseMove(service.view()->viewport(), service.view()->visualRect(service.model()->index(3, 0)).center());
    QCoreApplication::processEvents();
    EXPECT_EQ(controller->_DisplayType.get(), afp);
    service.hidePopup();
    EXPECT_EQ(controller->_DisplayType.get(), afp);
}

TEST_F(AddMountFormTest, WhatIsOnlyShownIsNotWritten) {
    addHost("archive", {});
    add();
    EXPECT_FALSE(controller->_Name.get()) << "nor is the first server offered taken";
    EXPECT_EQ(controller->_DisplayType.get(), afp);
    EXPECT_FALSE(controller->_UserName.get());
    EXPECT_FALSE(controller->_GuestLogin.get());
    EXPECT_FALSE(controller->_delaySeconds.get());
}

TEST_F(AddMountFormTest, WhatAControlCannotShowAsItIsStaysUntilTheUserChangesIt) {
    const auto host = addHost("diskstation", {});
    addService(host, nfs);
    const auto sharePoint = addSharePoint(host, nfs, "export");
    for (const double seconds : { 2.5, -1.0, 1e12, std::numeric_limits<double>::infinity() }) {
        sharePoint->delaySeconds.set(seconds);
        auto& sheet = edit(sharePoint);
        EXPECT_EQ(named<QComboBox>(sheet, "service").currentIndex(), -1);
        EXPECT_EQ(named<QComboBox>(sheet, "service").placeholderText(), nfs);
        type(sheet, "userName", "berta");
        EXPECT_EQ(controller->_DisplayType.get(), nfs);
        EXPECT_EQ(controller->_delaySeconds.get(), seconds);
        controller->cancelMountSheet();
    }
    sharePoint->delaySeconds.set(std::numeric_limits<double>::quiet_NaN());
    EXPECT_EQ(named<QSpinBox>(edit(sharePoint), "delaySeconds").value(), 0);
}

TEST_F(AddMountFormTest, AShareWithoutAServiceShowsThatOneIsToBeChosenAndGetsNoneUnasked) {
    const auto host = addHost("diskstation", {});
    auto& sheet = edit(addSharePoint(host, nfs, "export"));
    auto& service = named<QComboBox>(sheet, "service");
    EXPECT_EQ(service.currentIndex(), -1);
    EXPECT_EQ(service.placeholderText(), "Choose a service");
    EXPECT_EQ(service.accessibleDescription(), "Choose a service");
    type(sheet, "userName", "berta");
    EXPECT_FALSE(controller->_DisplayType.get());
    choose(sheet, "Server");
    EXPECT_EQ(controller->_DisplayType.get(), smb);
    EXPECT_EQ(service.accessibleDescription(), "");
}

TEST_F(AddMountFormTest, TheKnownServersAreOfferedAndATypedNameIsTakenAsItIs) {
    addHost("NAS", {});
    addHost("archive", {});
    auto& sheet = add();
    auto& servers = named<QComboBox>(sheet, "serverName");
    ASSERT_EQ(servers.count(), 2);
    EXPECT_EQ(servers.itemText(0), "archive");
    EXPECT_EQ(servers.itemText(1), "NAS");
    for (const auto* name : { "nas", "NA", "arch" }) {
        typeServer(sheet, name);
        EXPECT_EQ(servers.currentText(), name);
        EXPECT_EQ(controller->_Name.get(), name);
    }
    controller->cancelMountSheet();
    auto& fresh = named<QComboBox>(add(), "serverName");
    QTest::keyClick(&fresh, Qt::Key_Down);
    EXPECT_EQ(controller->_Name.get(), "archive");
    QTest::keyClick(&fresh, Qt::Key_Down);
    EXPECT_EQ(controller->_Name.get(), "NAS");
}

TEST_F(AddMountFormTest, ServersThatAreFoundJoinTheListBesideWhatIsTyped) {
    struct : Observable {
        TextList names { *this, "names" };
    } found;
    controller->setBonjourServices(&found.names);
    auto& sheet = add();
    auto& servers = named<QComboBox>(sheet, "serverName");
    const auto offered = [&] {
        std::vector<std::string> result;
        for (int row = 0; row < servers.count(); ++row)
            result.push_back(servers.itemText(row).toStdString());
        return result;
    };
    QTest::keyClicks(servers.lineEdit(), "nos");
    QTest::keyClick(servers.lineEdit(), Qt::Key_Left);
    for (const char* name : { "nas", "beamer" })
        found.names.append(name);
    controller->serverNamesChanged();
    EXPECT_THAT(offered(), ElementsAre("beamer", "nas"));
    EXPECT_EQ(servers.currentText(), "nos");
    EXPECT_EQ(servers.lineEdit()->cursorPosition(), 2);
    EXPECT_EQ(controller->_Name.get(), "nos");
    EXPECT_EQ(servers.currentIndex(), -1);

    servers.setCurrentIndex(1);
    ASSERT_EQ(controller->_Name.get(), "nas");
    for (const char* name : { "attic", "media", "Zoo" })
        found.names.append(name);
    controller->serverNamesChanged();
    EXPECT_THAT(offered(), ElementsAre("attic", "beamer", "media", "nas", "Zoo"));
    EXPECT_EQ(servers.currentIndex(), 3);
    for (const char* name : { "nas", "attic" })
        ASSERT_TRUE(found.names.removeFirst(name));
    controller->serverNamesChanged();
    EXPECT_THAT(offered(), ElementsAre("beamer", "media", "Zoo"));
    EXPECT_EQ(servers.currentText(), "nas") << "the user's choice stays though its server went";
    EXPECT_EQ(controller->_Name.get(), "nas");
    controller->cancelMountSheet();
    controller->setBonjourServices(nullptr);
}

TEST_F(AddMountFormTest, AnyServersNameIsOneRowAndIsChosenAsItIs) {
    struct : Observable {
        TextList names { *this, "names" };
    } found;
    for (const auto& [evil, name] : hostileNames())
        if (!name.empty())
            found.names.append(name);
    controller->setBonjourServices(&found.names);
    auto& sheet = add();
    auto& servers = named<QComboBox>(sheet, "serverName");
    EXPECT_EQ(servers.count(), static_cast<int>(found.names.count()));
    for (const auto* model : { servers.model(), servers.completer()->popup()->model() })
        for (int row = 0; row < model->rowCount(); ++row) {
            const auto shown = model->index(row, 0).data().toString();
            EXPECT_EQ(shown, ShownText::line(shown.toStdString()));
            EXPECT_LE(shown.size(), 1001);
        }
    auto* list = QAccessible::queryAccessibleInterface(servers.view());
    ASSERT_NE(list, nullptr);
    const std::string evil = "nas\n2026-11-21 10:11:12.345 Quorrel[1:1] Network Reachable.";
    const int row
        = servers.findData(QString::fromStdString(evil), Qt::EditRole, Qt::MatchExactly | Qt::MatchCaseSensitive);
    ASSERT_GE(row, 0);
    EXPECT_EQ(list->child(row)->text(QAccessible::Name).toStdString(),
        "nas 2026-11-21 10:11:12.345 Quorrel[1:1] Network Reachable.");
    servers.setCurrentIndex(row);
    EXPECT_EQ(controller->_Name.get(), evil);
    controller->cancelMountSheet();
    controller->setBonjourServices(nullptr);
}

TEST_F(AddMountFormTest, TenThousandServersDoNotFreezeTheSheet) {
    struct : Observable {
        TextList names { *this, "names" };
    } found;
    controller->setBonjourServices(&found.names);
    const auto joining = [&](int first, int count) {
        for (int number = first; number < first + count; ++number)
            found.names.append("server-" + std::to_string(number * 7919 % 20'000) + ".example.com");
        const auto start = threadTime();
        controller->serverNamesChanged();
        QCoreApplication::processEvents();
        return threadTime() - start;
    };
    auto& sheet = add();
    // Nothing in it grows with the square.
    const auto small = joining(0, 2'000);
    const auto large = joining(2'000, 10'000);
    EXPECT_EQ(named<QComboBox>(sheet, "serverName").count(), 12'000);
    EXPECT_LT(large, small * 12 + Seconds(0.1));
    controller->cancelMountSheet();
    controller->setBonjourServices(nullptr);
}

TEST_F(AddMountFormTest, WhatHasNoEffectIsGreyAndKeepsItsValue) {
    auto& sheet = edit(fullSharePoint());
    const auto isEnabled = [&](const char* name) { return named<QWidget>(sheet, name).isEnabled(); };
    EXPECT_FALSE(isEnabled("userName"));
    EXPECT_FALSE(isEnabled("password"));
    EXPECT_TRUE(isEnabled("delaySeconds"));
    click(sheet, "guestLogin");
    EXPECT_TRUE(isEnabled("userName"));
    EXPECT_FALSE(isEnabled("password")) << "it is asked for";
    click(sheet, "passwordPrompt");
    EXPECT_TRUE(isEnabled("password"));
    click(sheet, "isDelayed");
    EXPECT_FALSE(isEnabled("delaySeconds"));
    EXPECT_EQ(named<QLineEdit>(sheet, "userName").text(), "anna");
    EXPECT_EQ(named<QLineEdit>(sheet, "password").text(), "secret");
    EXPECT_EQ(controller->_delaySeconds.get(), 15);
}

TEST_F(AddMountFormTest, OnlyFTPSharesMayBeNameless) {
    auto& sheet = add();
    EXPECT_EQ(named<QLineEdit>(sheet, "sharePoint").placeholderText(), "");
    choose(sheet, "File");
    EXPECT_EQ(named<QLineEdit>(sheet, "sharePoint").placeholderText(), "optional");
}

TEST_F(AddMountFormTest, KeyboardAndScreenReaderReachEverything) {
    auto& sheet = add();
    EXPECT_THAT(WidgetWalk::withoutObjectName(sheet), IsEmpty());
    EXPECT_THAT(WidgetWalk::withoutAccessibleName(sheet), IsEmpty());
    EXPECT_THAT(WidgetWalk::withoutMnemonic(sheet), IsEmpty());
    EXPECT_THAT(WidgetWalk::ambiguousMnemonics(sheet), IsEmpty());
    EXPECT_THAT(WidgetWalk::cutTexts(sheet), IsEmpty());
    click(sheet, "isDelayed");
    EXPECT_THAT(WidgetWalk::tabOrder(sheet),
        ElementsAre("serverName", "service", "sharePoint", "guestLogin", "userName", "password", "passwordPrompt",
            "automatically", "favroite", "isDelayed", "delaySeconds", "script", "selectScript", "scriptArguments",
            "save", "cancel"));
    QTest::keyClick(&sheet, Qt::Key_H, Qt::AltModifier);
    EXPECT_EQ(QApplication::focusWidget(), &named<QLineEdit>(sheet, "sharePoint"));
}

TEST_F(AddMountFormTest, FitsOnASmallScreenWithTheNoticeShown) {
    const auto host = addHost("diskstation", { "music", "photos" });
    auto& sheet = edit(host->sharePointForName("music"));
    type(sheet, "sharePoint", "photos");
    click(sheet, "save");
    EXPECT_EQ(closedAlert().button, "Ok");
    EXPECT_THAT(WidgetWalk::cutTexts(sheet), IsEmpty());
    EXPECT_LE(sheet.width(), 1024);
    EXPECT_LE(sheet.height(), 540) << "what title bar and panel leave of 600";
}

} // namespace quorrel
