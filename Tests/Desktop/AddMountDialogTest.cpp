// SPDX-License-Identifier: GPL-3.0-or-later
#include "Desktop/AddMountDialog.h"

#include "Tests/Desktop/AddMountFixture.h"
#include "Tests/Fakes/HostileNames.h"

#include <gmock/gmock.h>

#include <QFile>
#include <QFileDialog>
#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QScreen>
#include <QTemporaryDir>

#include <functional>

namespace quorrel {

using ::testing::ElementsAre;

class AddMountDialogTest : public AddMountFixture {
protected:
    /// Fills in what every share must have.
    static void describe(AddMountForm& sheet, const char* server, const char* share) {
        typeServer(sheet, server);
        choose(sheet, "Server");
        type(sheet, "sharePoint", share);
    }
};

TEST_F(AddMountDialogTest, WhatIsTypedAndSavedIsInTheCatalogue) {
    auto& sheet = add();
    describe(sheet, "diskstation", "photos");
    type(sheet, "userName", "anna");
    type(sheet, "password", "secret");
    click(sheet, "favroite");
    QTest::keyClick(&sheet, Qt::Key_Return);

    EXPECT_FALSE(isUp());
    ASSERT_THAT(catalogue(), ElementsAre("diskstation/photos"));
    const auto saved = hosts.snapshot().front()->sharePointForName("photos");
    EXPECT_EQ(saved->displayType.get(), smb);
    EXPECT_EQ(saved->userName.get(), "anna");
    EXPECT_EQ(saved->password.get(), "secret");
    EXPECT_EQ(saved->favroite.get(), true);
    EXPECT_EQ(saved->automatically.get(), true);
}

TEST_F(AddMountDialogTest, IsASheetOfTheMainWindow) {
    auto& sheet = add();
    EXPECT_EQ(sheet.parentWidget(), &window);
    EXPECT_EQ(sheet.windowModality(), Qt::WindowModal);
    EXPECT_TRUE(sheet.isWindow());
    EXPECT_FALSE(sheet.windowFlags() & Qt::WindowMinMaxButtonsHint);
    EXPECT_EQ(sheet.windowTitle(), "Add Share");
    EXPECT_TRUE(named<QPushButton>(sheet, "save").isDefault());
    controller->cancelMountSheet();
    EXPECT_EQ(edit(addHost("diskstation", { "photos" })->sharePointForName("photos")).windowTitle(), "Edit Share");
}

TEST_F(AddMountDialogTest, EveryWayOutButSaveCancels) {
    addHost("diskstation", { "photos" });
    const std::vector<std::function<void(AddMountForm&)>> ways {
        [](AddMountForm& sheet) { click(sheet, "cancel"); },
        [](AddMountForm& sheet) { QTest::keyClick(&sheet, Qt::Key_Escape); },
        [](AddMountForm& sheet) { sheet.close(); },
    };
    for (const auto& leave : ways) {
        auto& sheet = edit(hosts.snapshot().front()->sharePointForName("photos"));
        type(sheet, "sharePoint", "music");
        leave(sheet);
        EXPECT_FALSE(isUp());
        EXPECT_FALSE(controller->isShown());
        EXPECT_FALSE(controller->_SharePoint.get());
        EXPECT_THAT(catalogue(), ElementsAre("diskstation/photos"));
    }
}

TEST_F(AddMountDialogTest, TheFormIsWipedAtOnceAndSoonGone) {
    auto& sheet = add();
    const QPointer<QLineEdit> password = &named<QLineEdit>(sheet, "password");
    type(sheet, "password", "secret");
    click(sheet, "cancel");
    ASSERT_TRUE(password);
    EXPECT_EQ(password->text(), "");
    EXPECT_FALSE(password->isUndoAvailable());
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_FALSE(password);
    EXPECT_TRUE(window.findChildren<QDialog*>().isEmpty());
}

TEST_F(AddMountDialogTest, AMissingServerNameIsSaidAndAskedFor) {
    auto& sheet = add();
    click(sheet, "save");
    EXPECT_EQ(closedAlert(), (Alert { "Oups!", "Server Name is a needed field.", "Ok" }));
    EXPECT_EQ(&form(), &sheet);
    EXPECT_EQ(QApplication::focusWidget(), &named<QComboBox>(sheet, "serverName"));
}

TEST_F(AddMountDialogTest, AMissingShareNameIsSaidAndAskedFor) {
    auto& sheet = add();
    typeServer(sheet, "diskstation");
    click(sheet, "save");
    EXPECT_EQ(closedAlert(), (Alert { "Hey!", "Share name is a needed field", "Ok" }));
    EXPECT_EQ(&form(), &sheet);
    EXPECT_EQ(QApplication::focusWidget(), &named<QLineEdit>(sheet, "sharePoint"));
    EXPECT_EQ(named<QComboBox>(sheet, "serverName").currentText(), "diskstation");
}

TEST_F(AddMountDialogTest, AMissingUserNameIsSaidAndAskedForUnlessAGuestLogsIn) {
    auto& sheet = add();
    typeServer(sheet, "diskstation");
    type(sheet, "sharePoint", "photos");
    click(sheet, "save");
    EXPECT_EQ(closedAlert(), (Alert { "Hey!", "User Name needed, or check the guest login option", "Ok" }));
    EXPECT_EQ(&form(), &sheet);
    EXPECT_EQ(QApplication::focusWidget(), &named<QLineEdit>(sheet, "userName"));
    click(sheet, "guestLogin");
    click(sheet, "save");
    EXPECT_FALSE(isUp());
    EXPECT_THAT(catalogue(), ElementsAre("diskstation/photos"));
}

TEST_F(AddMountDialogTest, AShareThatStandsThereAlreadyLeavesTheSheetUpWithAllThatWasTyped) {
    addHost("diskstation", { "photos" });
    auto& sheet = add();
    describe(sheet, "diskstation", "photos");
    type(sheet, "userName", "berta");
    type(sheet, "scriptArguments", "-v");
    click(sheet, "save");
    EXPECT_EQ(closedAlert(),
        (Alert { "Oups!",
            "photos already exists for diskstation under the Server Message Block (smb) service.\n Can't add.",
            "Ok" }));
    EXPECT_EQ(&form(), &sheet);
    EXPECT_EQ(named<QLineEdit>(sheet, "userName").text(), "berta");
    EXPECT_EQ(named<QLineEdit>(sheet, "scriptArguments").text(), "-v");
    EXPECT_FALSE(named<QWidget>(sheet, "removedNotice").isVisible()) << "nothing was removed";
}

TEST_F(AddMountDialogTest, AnyNameThatStandsThereAlreadyIsPlainTextOnALineOfItsOwn) {
    for (const auto& [evil, name] : hostileNames()) {
        if (name.empty())
            continue; // has an alert of its own
        addHost(name, { name });
        auto& sheet = add();
        choose(sheet, "Server");
        controller->_Name.set(name);
        controller->_SharePoint.set(name);
        controller->_GuestLogin.set(true);
        controller->addMountSaveAction();
        auto* box = dynamic_cast<QMessageBox*>(QApplication::activeModalWidget());
        ASSERT_TRUE(box) << evil;
        for (const auto* label : { "qt_msgbox_label", "qt_msgbox_informativelabel" })
            EXPECT_EQ(named<QLabel>(*box, label).textFormat(), Qt::PlainText) << evil;
        const auto text = box->informativeText();
        EXPECT_LE(text.size(), 5001) << evil;
        EXPECT_EQ(text.count('\n'), name.size() < 1000 ? 1 : 0) << evil;
        EXPECT_FALSE(text.contains(QChar(0x202e)) || text.contains(QChar(0x1b)) || text.contains(QChar(0))) << evil;
        EXPECT_EQ(closedAlert().title, "Oups!") << evil;
        controller->cancelMountSheet();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
}

TEST_F(AddMountDialogTest, AnAlertShowsMarkupAsItStandsAndCallsBackOnceHoweverItIsClosed) {
    add();
    for (const auto key : { Qt::Key_Return, Qt::Key_Escape }) {
        int closed = 0;
        dialog.runAlert("<b>Oups!</b>", "<i>nas</i> & more", "Ok", [&] { ++closed; });
        auto* box = dynamic_cast<QMessageBox*>(QApplication::activeModalWidget());
        ASSERT_TRUE(box);
        EXPECT_EQ(box->windowModality(), Qt::WindowModal);
        for (const auto* name : { "qt_msgbox_label", "qt_msgbox_informativelabel" })
            EXPECT_EQ(named<QLabel>(*box, name).textFormat(), Qt::PlainText) << name;
        EXPECT_EQ(closed, 0);
        QTest::keyClick(box, key);
        EXPECT_EQ(closed, 1);
        form();
    }
}

TEST_F(AddMountDialogTest, AnEditThatFailedSaysThatTheShareIsOutAndSavingBringsItBack) {
    const auto host = addHost("diskstation", { "music", "photos" });
    auto& sheet = edit(host->sharePointForName("music"));
    EXPECT_FALSE(named<QWidget>(sheet, "removedNotice").isVisible());
    type(sheet, "sharePoint", "photos");
    type(sheet, "script", "/bin/true");
    click(sheet, "save");
    EXPECT_EQ(closedAlert().title, "Oups!");
    EXPECT_EQ(&form(), &sheet);
    EXPECT_TRUE(named<QWidget>(sheet, "removedNotice").isVisible());
    EXPECT_FALSE(named<QWidget>(sheet, "cancel").toolTip().isEmpty());
    EXPECT_EQ(named<QLineEdit>(sheet, "script").text(), "/bin/true");
    EXPECT_THAT(catalogue(), ElementsAre("diskstation/photos"));

    type(sheet, "sharePoint", "films");
    click(sheet, "save");
    EXPECT_FALSE(isUp());
    EXPECT_THAT(catalogue(), ElementsAre("diskstation/photos", "diskstation/films"));
    EXPECT_FALSE(named<QWidget>(add(), "removedNotice").isVisible());
}

TEST_F(AddMountDialogTest, WhoWouldLoseTheShareIsAskedFirstAndStaysUnlessSureOfIt) {
    const auto host = addHost("diskstation", { "music", "photos" });
    auto& sheet = edit(host->sharePointForName("music"));
    type(sheet, "sharePoint", "photos");
    click(sheet, "save");
    closedAlert();
    const auto question = [&]() -> QMessageBox& {
        auto* box = dynamic_cast<QMessageBox*>(QApplication::activeModalWidget());
        if (!box)
            qFatal("nothing was asked");
        EXPECT_TRUE(QTest::qWaitForWindowActive(box));
        EXPECT_EQ(box->text(), "Do you want to give up the share you were editing?");
        return *box;
    };
    const std::vector<std::function<void()>> waysOut { [&] { click(sheet, "cancel"); },
        [&] { QTest::keyClick(&sheet, Qt::Key_Escape); }, [&] { sheet.close(); } };
    const std::vector<std::function<void(QMessageBox&)>> waysBack { [](QMessageBox& box) {
                                                                       QTest::keyClick(&box, Qt::Key_Return);
                                                                   },
        [](QMessageBox& box) { QTest::keyClick(&box, Qt::Key_Escape); }, [](QMessageBox& box) { box.close(); } };
    for (std::size_t index = 0; index < waysOut.size(); ++index) {
        waysOut[index]();
        waysBack[index](question());
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        EXPECT_EQ(&form(), &sheet);
        EXPECT_EQ(named<QLineEdit>(sheet, "sharePoint").text(), "photos");
    }
    click(sheet, "cancel");
    click(question(), "alternateButton");
    EXPECT_FALSE(isUp());
    EXPECT_FALSE(controller->isShown());
}

TEST_F(AddMountDialogTest, WithoutAWindowToStandOnTheSheetIsInTheMiddleOfTheScreen) {
    window.hide();
    window.move(-5000, -5000);
    const auto& sheet = add();
    const auto way = sheet.frameGeometry().center() - sheet.screen()->availableGeometry().center();
    EXPECT_LE(way.manhattanLength(), 40) << "its frame is not known before it is shown";
}

TEST_F(AddMountDialogTest, TheFocusIsWhereTheControllerWantsItBeforeThereIsASheet) {
    const auto host = addHost("diskstation", {});
    HostListController list([](const auto&, std::string_view) { return std::string(); });
    list.setContent({ host });
    controller->setHostsArrayController(&list);
    const auto focused = [](const AddMountForm& sheet) { return sheet.focusWidget()->objectName().toStdString(); };
    EXPECT_EQ(focused(add()), "serverName");
    controller->cancelMountSheet();
    list.setSelectedObjects({ host });
    EXPECT_EQ(focused(add()), "sharePoint");
    EXPECT_EQ(named<QComboBox>(form(), "serverName").currentText(), "diskstation");
    controller->cancelMountSheet();
    controller->setHostsArrayController(nullptr);
    EXPECT_EQ(focused(add()), "serverName") << "what was wanted earlier is forgotten";
}

TEST_F(AddMountDialogTest, TheScriptIsChosenAmongFilesOnly) {
    const QTemporaryDir folder;
    QFile script(folder.filePath("after-mount"));
    ASSERT_TRUE(script.open(QFile::WriteOnly));
    script.close();

    auto& sheet = add();
    type(sheet, "script", "/bin/old");
    click(sheet, "selectScript");
    auto* panel = dynamic_cast<QFileDialog*>(QApplication::activeModalWidget());
    ASSERT_TRUE(panel);
    EXPECT_EQ(panel->windowModality(), Qt::WindowModal);
    EXPECT_EQ(panel->fileMode(), QFileDialog::ExistingFile);
    EXPECT_TRUE(panel->testOption(QFileDialog::ReadOnly)) << "folders are not made here";
    QTest::keyClick(panel, Qt::Key_Escape);
    EXPECT_EQ(named<QLineEdit>(form(), "script").text(), "/bin/old");

    click(sheet, "selectScript");
    panel = dynamic_cast<QFileDialog*>(QApplication::activeModalWidget());
    ASSERT_TRUE(panel);
    panel->selectFile(script.fileName());
    QTest::keyClick(&named<QLineEdit>(*panel, "fileNameEdit"), Qt::Key_Return);
    EXPECT_EQ(controller->_script.get(), script.fileName().toStdString());
    EXPECT_EQ(named<QLineEdit>(form(), "script").text(), script.fileName());
}

TEST_F(AddMountDialogTest, ASheetThatIsUpGoesWithItsControllerItsWindowOrItsDialog) {
    add();
    controller.reset();
    EXPECT_FALSE(isUp());

    auto* parent = new QWidget;
    parent->show();
    AddMountDialog other(environment, [parent] { return parent; });
    AddMountWindowController second(other, hosts, context, notificationCenter);
    second.setIsAdd(true);
    second.showSheetForWindow();
    EXPECT_TRUE(isUp());
    delete parent;
    EXPECT_FALSE(isUp());
    second.cancelMountSheet();
    EXPECT_FALSE(second.isShown());

    auto third = std::make_unique<AddMountDialog>(environment, nullptr);
    AddMountWindowController last(dialog, hosts, context, notificationCenter);
    third->beginSheet(last);
    EXPECT_TRUE(isUp());
    third.reset();
    EXPECT_FALSE(isUp());
    last._Name.set("nobody listens");
}

TEST_F(AddMountDialogTest, AFormThatIsStillToBeDestroyedGoesWithItsDialog) {
    auto dialogOfNoWindow = std::make_unique<AddMountDialog>(environment, nullptr);
    dialogOfNoWindow->beginSheet(*controller);
    const QPointer<AddMountForm> sheet = &form();
    dialogOfNoWindow->orderOut();
    EXPECT_TRUE(sheet);
    dialogOfNoWindow.reset();
    EXPECT_FALSE(sheet);
}

TEST_F(AddMountDialogTest, ReturnOnAButtonPressesThatButton) {
    auto& sheet = add();
    named<QPushButton>(sheet, "selectScript").setFocus();
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
    EXPECT_TRUE(dynamic_cast<QFileDialog*>(QApplication::activeModalWidget()));
}

TEST_F(AddMountDialogTest, AnotherBeginTakesThePlaceOfTheSheetThatIsUp) {
    const QPointer<AddMountForm> first = &add();
    dialog.beginSheet(*controller);
    EXPECT_NE(&form(), first);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_FALSE(first);
    click(form(), "cancel");
    EXPECT_FALSE(isUp());
}

} // namespace quorrel
