// SPDX-License-Identifier: GPL-3.0-or-later
#include "Desktop/PasswordDialog.h"

#include "Desktop/PasswordForm.h"
#include "Sources/PasswordWindowController.h"
#include "Tests/Desktop/DesktopFixture.h"
#include "Tests/Desktop/WidgetWalk.h"

#include <gmock/gmock.h>

#include <QAbstractButton>
#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QTest>
#include <QTimer>

#include <functional>
#include <memory>

namespace quorrel {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class PasswordDialogTest : public DesktopFixture {
protected:
    using User = std::function<void(PasswordForm& form)>;

    PasswordDialogTest() {
        addService(host, smb);
        controller.setMount(addSharePoint(host, smb, "photos"));
    }

    /// Shows the prompt to a user, who has to close it.
    void ask(const User& user) {
        askIn([&] { controller.showWindowModal(); }, user);
    }

    static void askIn(const std::function<void()>& run, const User& user) {
        QTimer soon;
        soon.setSingleShot(true);
        QObject::connect(&soon, &QTimer::timeout, [&user] {
            auto* form = dynamic_cast<PasswordForm*>(QApplication::activeModalWidget());
            ASSERT_TRUE(form);
            ASSERT_TRUE(QTest::qWaitForWindowActive(form));
            user(*form);
        });
        soon.start(0);
        QTimer tooLong;
        QObject::connect(&tooLong, &QTimer::timeout, [] {
            ADD_FAILURE() << "the prompt is still there";
            if (auto* form = dynamic_cast<PasswordForm*>(QApplication::activeModalWidget()))
                form->done(QDialog::Rejected);
        });
        tooLong.start(10000);
        run();
        EXPECT_FALSE(QApplication::activeModalWidget());
    }

    const std::shared_ptr<HostDefinition> host = hostNamed("diskstation");
    PasswordDialog dialog { environment };
    PasswordWindowController controller { dialog };
};

TEST_F(PasswordDialogTest, EachKeystrokeIsInTheHostAtOnceAndReturnKeepsThem) {
    ask([&](PasswordForm& form) {
        EXPECT_EQ(QApplication::focusWidget(), &named<QLineEdit>(form, "password"));
        QTest::keyClicks(QApplication::focusWidget(), "sec");
        EXPECT_EQ(host->password.get(), "sec");
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Backspace);
        EXPECT_EQ(host->password.get(), "se");
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
    });
    EXPECT_EQ(host->password.get(), "se");
}

TEST_F(PasswordDialogTest, TheOKButtonKeepsWhatWasTyped) {
    ask([&](PasswordForm& form) {
        QTest::keyClicks(&named<QLineEdit>(form, "password"), "geheim");
        QTest::mouseClick(&named<QAbstractButton>(form, "ok"), Qt::LeftButton);
    });
    EXPECT_EQ(host->password.get(), "geheim");
}

TEST_F(PasswordDialogTest, ClosedInAnyOtherWayTheHostIsLeftWithoutAPassword) {
    const std::vector<User> ways {
        [](PasswordForm& form) { QTest::mouseClick(&named<QAbstractButton>(form, "cancel"), Qt::LeftButton); },
        [](PasswordForm& form) { QTest::keyClick(&form, Qt::Key_Escape); },
        [](PasswordForm& form) { form.close(); },
        [this](PasswordForm&) { dialog.abortModal(); },
    };
    for (const auto& close : ways) {
        host->password.set("old");
        ask([&](PasswordForm& form) {
            EXPECT_EQ(named<QLineEdit>(form, "password").text(), "old");
            QTest::keyClicks(&named<QLineEdit>(form, "password"), "new");
            close(form);
        });
        EXPECT_FALSE(host->password.get());
    }
}

TEST_F(PasswordDialogTest, SaysForWhichServerAndWhichShare) {
    ask([&](PasswordForm& form) {
        EXPECT_EQ(named<QLabel>(form, "heading").text(), "Enter the password for diskstation");
        EXPECT_EQ(named<QLabel>(form, "explanation").text(),
            "It is needed to mount photos. It is kept until Quorrel quits and never stored.");
        form.reject();
    });
}

TEST_F(PasswordDialogTest, NamesFromTheNetworkAreShownInOneLineOfBoundedWidth) {
    host->displayName.set("<b>a</b>\nb " + std::string(5000, 'x'));
    ask([&](PasswordForm& form) {
        const auto& heading = named<QLabel>(form, "heading");
        EXPECT_TRUE(heading.text().startsWith("Enter the password for <b>a</b> b x")) << heading.text().toStdString();
        EXPECT_EQ(heading.textFormat(), Qt::PlainText);
        EXPECT_LT(form.width(), 1000);
        form.reject();
    });
}

TEST_F(PasswordDialogTest, AShareThatReachesNoHostIsAskedForAllTheSame) {
    const auto stray = std::make_shared<SharePointDefinition>(context);
    controller.setMount(stray);
    ask([&](PasswordForm& form) {
        EXPECT_EQ(named<QLabel>(form, "heading").text(), "Enter the password");
        EXPECT_EQ(named<QLabel>(form, "explanation").text(), "It is kept until Quorrel quits and never stored.");
        QTest::keyClicks(&named<QLineEdit>(form, "password"), "secret");
        form.accept();
    });
    EXPECT_FALSE(host->password.get());
}

TEST_F(PasswordDialogTest, ThePasswordIsHiddenUntilTheUserWantsToSeeIt) {
    ask([&](PasswordForm& form) {
        const auto& field = named<QLineEdit>(form, "password");
        EXPECT_EQ(field.echoMode(), QLineEdit::Password);
        QTest::keyClick(&form, Qt::Key_S, Qt::AltModifier);
        EXPECT_TRUE(QTest::qWaitFor([&] { return field.echoMode() == QLineEdit::Normal; }));
        EXPECT_TRUE(field.inputMethodHints() & Qt::ImhSensitiveData) << "shown to the user, not to what learns words";
        QTest::keyClick(&form, Qt::Key_S, Qt::AltModifier);
        EXPECT_TRUE(QTest::qWaitFor([&] { return field.echoMode() == QLineEdit::Password; }));
        form.reject();
    });
}

TEST_F(PasswordDialogTest, KeyboardAndScreenReaderReachEverything) {
    ask([](PasswordForm& form) {
        EXPECT_THAT(WidgetWalk::withoutObjectName(form), IsEmpty());
        EXPECT_THAT(WidgetWalk::withoutAccessibleName(form), IsEmpty());
        EXPECT_THAT(WidgetWalk::withoutMnemonic(form), IsEmpty());
        EXPECT_THAT(WidgetWalk::ambiguousMnemonics(form), IsEmpty());
        EXPECT_THAT(WidgetWalk::cutTexts(form), IsEmpty());
        EXPECT_THAT(WidgetWalk::tabOrder(form), ElementsAre("password", "showPassword", "ok", "cancel"));
        form.reject();
    });
}

TEST_F(PasswordDialogTest, TasksOfTheQueueWaitForTheEndOfTheRun) {
    bool hasRun = false;
    ask([&](PasswordForm& form) {
        mainThreadQueue.post([&] { hasRun = true; });
        mainThreadQueue.runPending();
        EXPECT_FALSE(hasRun);
        form.reject();
    });
    mainThreadQueue.runPending();
    EXPECT_TRUE(hasRun);
}

TEST_F(PasswordDialogTest, ASecondRunMeanwhileIsAbortedAtOnceAndTheFirstGoesOn) {
    ask([&](PasswordForm& form) {
        EXPECT_EQ(dialog.runModal(controller), PasswordWindow::Response::Aborted);
        EXPECT_TRUE(form.isVisible());
        EXPECT_TRUE(dialog.bringToFront());
        QTest::keyClicks(&named<QLineEdit>(form, "password"), "secret");
        form.accept();
    });
    EXPECT_EQ(host->password.get(), "secret");
    EXPECT_FALSE(dialog.bringToFront());
}

TEST_F(PasswordDialogTest, QuittingAbortsTheRun) {
    host->password.set("old");
    bool hasReturned = false;
    QTimer soon;
    soon.setSingleShot(true);
    QObject::connect(&soon, &QTimer::timeout, [&] {
        ask([](PasswordForm&) { QCoreApplication::quit(); });
        hasReturned = true;
    });
    soon.start(0);
    QCoreApplication::exec();
    EXPECT_TRUE(hasReturned);
    EXPECT_FALSE(host->password.get());
}

TEST_F(PasswordDialogTest, TheRunSurvivesTheEndOfItsWindow) {
    auto window = std::make_unique<PasswordDialog>(environment);
    auto response = PasswordWindow::Response::Stopped;
    askIn([&] { response = window->runModal(controller); }, [&](PasswordForm&) { window.reset(); });
    EXPECT_EQ(response, PasswordWindow::Response::Aborted);
}

TEST_F(PasswordDialogTest, NothingOfThePasswordStaysInTheWindow) {
    QPointer<QLineEdit> field;
    QString leftToTheLast = "not seen";
    ask([&](PasswordForm& form) {
        field = &named<QLineEdit>(form, "password");
        // Emitted while its controls are still there.
        QObject::connect(&form, &QObject::destroyed, [&] { leftToTheLast = field->text(); });
        QTest::keyClicks(field, "secret");
        form.accept();
    });
    EXPECT_FALSE(field);
    EXPECT_EQ(leftToTheLast, "");
}

TEST_F(PasswordDialogTest, WhetherTheFormGoesIsItsTargetsToDecide) {
    struct : PasswordWindowTarget {
        std::string hostName() const override { return {}; }
        std::string shareName() const override { return {}; }
        std::string password() const override { return {}; }
        void setPassword(const std::string&) override { }
        void saveHostPassword() override { ++saved; }
        void cancelhostPassword() override { ++cancelled; }
        int saved = 0;
        int cancelled = 0;
    } target;
    PasswordForm form(environment, target);
    form.show();
    QTest::keyClick(&form, Qt::Key_Escape);
    form.close();
    QTest::mouseClick(&named<QAbstractButton>(form, "cancel"), Qt::LeftButton);
    QTest::mouseClick(&named<QAbstractButton>(form, "ok"), Qt::LeftButton);
    EXPECT_EQ(target.cancelled, 3);
    EXPECT_EQ(target.saved, 1);
    EXPECT_TRUE(form.isVisible());
}

TEST_F(PasswordDialogTest, WipingLeavesNothingToUndoAndTellsNobody) {
    PasswordForm form(environment, controller);
    auto& field = named<QLineEdit>(form, "password");
    QTest::keyClicks(&field, "secret");
    form.wipe();
    EXPECT_EQ(field.text(), "");
    EXPECT_FALSE(field.isUndoAvailable());
    EXPECT_EQ(host->password.get(), "secret");
}

} // namespace quorrel
