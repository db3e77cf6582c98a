// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Desktop/AddMountDialog.h"
#include "Desktop/AddMountForm.h"
#include "Foundation/NotificationCenter.h"
#include "Foundation/ObservableList.h"
#include "Sources/AddMountWindowController.h"
#include "Tests/Desktop/DesktopFixture.h"

#include <QAbstractButton>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QMessageBox>
#include <QTest>

#include <memory>
#include <utility>
#include <vector>

namespace quorrel {

/// The share editor as the user sees it, on a main window, over a catalogue.
class AddMountFixture : public DesktopFixture {
protected:
    explicit AddMountFixture(FakeStringTable::Texts texts = {})
        : DesktopFixture(std::move(texts)) {
        window.show();
    }

    /// The sheet with nothing to edit.
    AddMountForm& add() {
        controller->setIsAdd(true);
        controller->setIsEdit(false);
        controller->setMount(nullptr);
        controller->showSheetForWindow();
        return form();
    }

    AddMountForm& edit(const std::shared_ptr<SharePointDefinition>& sharePoint) {
        controller->setIsAdd(false);
        controller->setIsEdit(true);
        controller->setMount(sharePoint);
        controller->showSheetForWindow();
        return form();
    }

    /// The sheet that is up.
    AddMountForm& form() {
        auto* shown = dynamic_cast<AddMountForm*>(QApplication::activeModalWidget());
        if (!shown)
            qFatal("there is no sheet");
        EXPECT_TRUE(QTest::qWaitForWindowActive(shown));
        return *shown;
    }

    [[nodiscard]] static bool isUp() { return QApplication::activeModalWidget() != nullptr; }

    static void type(AddMountForm& form, const char* name, const char* text) {
        auto& control = named<QLineEdit>(form, name);
        control.selectAll();
        QTest::keyClicks(&control, text);
    }

    static void typeServer(AddMountForm& form, const char* text) {
        auto* line = named<QComboBox>(form, "serverName").lineEdit();
        line->selectAll();
        QTest::keyClicks(line, text);
        QTest::keyClick(line, Qt::Key_Tab); // closes what completes it
    }

    static void choose(AddMountForm& form, const char* service) {
        named<QComboBox>(form, "service").setFocus();
        QTest::keyClicks(&named<QComboBox>(form, "service"), service);
    }

    static void click(QWidget& parent, const char* name) {
        auto& button = named<QAbstractButton>(parent, name);
        const bool isBox = qobject_cast<QCheckBox*>(&button) != nullptr; // takes clicks where its text is, at most
        QTest::mouseClick(&button, Qt::LeftButton, {}, isBox ? QPoint(8, button.height() / 2) : QPoint());
    }

    /// Reads the alert that is up, and answers it.
    struct Alert final {
        std::string title;
        std::string message;
        std::string button;

        friend bool operator==(const Alert&, const Alert&) = default;
        friend void PrintTo(const Alert& alert, std::ostream* out) {
            *out << alert.title << " / " << alert.message << " / " << alert.button;
        }
    };
    static Alert closedAlert() {
        auto* box = dynamic_cast<QMessageBox*>(QApplication::activeModalWidget());
        if (!box)
            return {};
        EXPECT_TRUE(QTest::qWaitForWindowActive(box));
        EXPECT_EQ(box->buttons().size(), 1);
        Alert alert { box->text().toStdString(), box->informativeText().toStdString(),
            box->buttons().first()->text().toStdString() };
        QTest::keyClick(box, Qt::Key_Return);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        return alert;
    }

    [[nodiscard]] std::vector<std::string> catalogue() const {
        std::vector<std::string> lines;
        for (const auto& host : hosts.snapshot())
            for (const auto& each : host->sharePoints.snapshot())
                lines.push_back(textOf(host->displayName.get()) + "/" + textOf(each->sharePoint.get()));
        return lines;
    }

    std::shared_ptr<HostDefinition> addHost(const std::string& name, const std::vector<std::string>& shares) {
        auto host = hostNamed(name);
        addService(host, smb);
        for (const auto& share : shares)
            addSharePoint(host, smb, share)->userName.set("anna");
        hosts.append(host);
        return host;
    }

    struct Owner final : Observable {
    } owner;
    ObservableList<std::shared_ptr<HostDefinition>> hosts { owner, "hosts" };
    NotificationCenter notificationCenter;
    QWidget window;
    AddMountDialog dialog { environment, [this] { return &window; } };
    std::unique_ptr<AddMountWindowController> controller
        = std::make_unique<AddMountWindowController>(dialog, hosts, context, notificationCenter);
};

} // namespace quorrel
