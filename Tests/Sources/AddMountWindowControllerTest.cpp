// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Sources/AddMountFixture.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>
#include <ostream>

namespace quorrel {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// How the sheet opens, closes and says what is missing; what it adds is tested elsewhere.
class AddMountWindowControllerTest : public AddMountFixture {
protected:
    /// A share point with a value of its own in each field.
    SharePointPointer addFullSharePoint() {
        const auto host = addHost("nas", smb);
        auto result = addSharePoint(host, smb, "films");
        result->userName.set("anna");
        result->password.set("secret");
        result->passwordPrompt.set(true);
        result->guestLogin.set(false);
        result->automatically.set(false);
        result->favroite.set(true);
        result->script.set("/bin/true");
        result->scriptArguments.set("-v");
        result->isDelayed.set(true);
        result->delaySeconds.set(7.5);
        return result;
    }

    void expectFieldsAbsent() {
        for (const auto* text : { &sheet->_Name, &sheet->_DisplayType, &sheet->_SharePoint, &sheet->_UserName,
                 &sheet->_Password, &sheet->_script, &sheet->_scriptArguments })
            EXPECT_EQ(text->get(), std::nullopt);
        for (const auto* flag : { &sheet->_PasswordPrompt, &sheet->_GuestLogin, &sheet->_Automatically,
                 &sheet->_Favroite, &sheet->_isDelayed })
            EXPECT_EQ(flag->get(), std::nullopt);
        EXPECT_EQ(sheet->_delaySeconds.get(), std::nullopt);
    }
};

TEST_F(AddMountWindowControllerTest, OffersSixServicesAndNotTheNetworkFileSystem) {
    EXPECT_THAT(sheet->transportTypes, ElementsAre(afp, smb, cifs, webDav, secureWebDav, ftp));
}

// Showing

TEST_F(AddMountWindowControllerTest, AnAddingSheetOpensWithAppleFilingAndAutomaticMountingAndNothingElse) {
    expectFieldsAbsent();
    showToAdd();
    EXPECT_EQ(sheet->_DisplayType.get(), afp);
    EXPECT_EQ(sheet->_Automatically.get(), true);
    sheet->_DisplayType.set(std::nullopt);
    sheet->_Automatically.set(std::nullopt);
    expectFieldsAbsent();
}

TEST_F(AddMountWindowControllerTest, WithoutASelectedHostTheServerNameHasTheFocus) {
    hostsList.setContent({ addHost("nas", smb) });
    showToAdd();
    EXPECT_FALSE(sheet->_Name.get());
    EXPECT_THAT(window.events(), ElementsAre("focus server name", "begin"));
}

TEST_F(AddMountWindowControllerTest, TheFirstSelectedHostIsTheServerAndTheShareNameHasTheFocus) {
    const auto first = addHost("nas", smb);
    const auto second = addHost("attic", smb);
    hostsList.setContent({ first, second });
    hostsList.setSelectedObjects({ second, first });
    showToAdd();
    EXPECT_EQ(sheet->_Name.get(), "nas");
    EXPECT_EQ(sheet->_DisplayType.get(), afp);
    EXPECT_THAT(window.events(), ElementsAre("focus share point", "begin"));
}

TEST_F(AddMountWindowControllerTest, WithoutAListOfHostsTheFocusIsLeftToTheWindow) {
    sheet->setHostsArrayController(nullptr);
    showToAdd();
    EXPECT_THAT(window.events(), ElementsAre("begin"));
}

TEST_F(AddMountWindowControllerTest, TheFieldsAreFilledBeforeTheSheetBegins) {
    const auto host = addHost("nas", smb);
    hostsList.setContent({ host });
    hostsList.setSelectedObjects({ host });
    OptionalText seen;
    window.setWitness([&](const std::string& event) {
        if (event == "begin")
            seen = sheet->_Name.get();
    });
    showToAdd();
    EXPECT_EQ(seen, "nas");
    EXPECT_EQ(window.controller(), sheet.get());
}

TEST_F(AddMountWindowControllerTest, AnEditingSheetShowsEveryFieldOfTheSharePoint) {
    showToEdit(addFullSharePoint());
    EXPECT_EQ(sheet->_Name.get(), "nas");
    EXPECT_EQ(sheet->_DisplayType.get(), smb);
    EXPECT_EQ(sheet->_SharePoint.get(), "films");
    EXPECT_EQ(sheet->_UserName.get(), "anna");
    EXPECT_EQ(sheet->_Password.get(), "secret");
    EXPECT_EQ(sheet->_PasswordPrompt.get(), true);
    EXPECT_EQ(sheet->_GuestLogin.get(), false);
    EXPECT_EQ(sheet->_Automatically.get(), false);
    EXPECT_EQ(sheet->_Favroite.get(), true);
    EXPECT_EQ(sheet->_script.get(), "/bin/true");
    EXPECT_EQ(sheet->_scriptArguments.get(), "-v");
    EXPECT_EQ(sheet->_isDelayed.get(), true);
    EXPECT_EQ(sheet->_delaySeconds.get(), 7.5);
}

TEST_F(AddMountWindowControllerTest, AnEditingSheetLooksAtNoSelectionAndMovesNoFocus) {
    const auto mount = addFullSharePoint();
    const auto other = addHost("attic", smb);
    hostsList.setContent({ other });
    hostsList.setSelectedObjects({ other });
    showToEdit(mount);
    EXPECT_EQ(sheet->_Name.get(), "nas");
    EXPECT_THAT(window.events(), ElementsAre("begin"));
}

TEST_F(AddMountWindowControllerTest, TheServiceShownIsTheParentServicesAndNotTheSharePointsOwnCopy) {
    const auto mount = addFullSharePoint();
    mount->setDisplayType(ftp);
    showToEdit(mount);
    EXPECT_EQ(sheet->_DisplayType.get(), smb);
    sheet->cancelMountSheet();
    mount->parentService.set({});
    showToEdit(mount);
    EXPECT_FALSE(sheet->_DisplayType.get());
}

TEST_F(AddMountWindowControllerTest, WhatASharePointLacksIsAbsentInTheSheetToo) {
    const auto mount = addFullSharePoint();
    mount->automatically.set(std::nullopt);
    mount->userName.set(std::nullopt);
    mount->parentHost.set({});
    showToEdit(mount);
    EXPECT_FALSE(sheet->_Automatically.get());
    EXPECT_FALSE(sheet->_UserName.get());
    EXPECT_FALSE(sheet->_Name.get());
}

TEST_F(AddMountWindowControllerTest, EachFieldIsAnnouncedUnderItsOwnName) {
    AnnouncementRecorder recorder(*sheet);
    showToEdit(addFullSharePoint());
    auto announced = recorder.take();
    for (const char* key :
        { "_Name", "_DisplayType", "_SharePoint", "_UserName", "_Password", "_PasswordPrompt", "_GuestLogin",
            "_Automatically", "_Favroite", "_script", "_scriptArguments", "_isDelayed", "_delaySeconds" })
        EXPECT_THAT(announced, ::testing::Contains("did " + std::string(key)));
}

TEST_F(AddMountWindowControllerTest, ASheetThatIsOpenIsNotFilledAnew) {
    const auto host = addHost("nas", smb);
    hostsList.setContent({ host });
    showToAdd();
    sheet->_SharePoint.set("half ty");
    EXPECT_TRUE(sheet->isShown());
    hostsList.setSelectedObjects({ host });
    sheet->showSheetForWindow();
    EXPECT_EQ(sheet->_SharePoint.get(), "half ty");
    EXPECT_FALSE(sheet->_Name.get());
    EXPECT_THAT(window.events(), ElementsAre("focus server name", "begin"));
}

// What is missing

struct MissingField final {
    const char* what;
    OptionalText name;
    const char* service;
    OptionalText share;
    OptionalText user;
    OptionalFlag guest;
    const char* title;
    const char* message;
    const char* focus;

    friend void PrintTo(const MissingField& missing, std::ostream* output) { *output << missing.what; }
};

class MissingFieldTest : public AddMountFixture, public testing::WithParamInterface<MissingField> { };

TEST_P(MissingFieldTest, IsToldAndTheSheetStaysOpenUnchanged) {
    const auto& missing = GetParam();
    const auto host = addHost("nas", smb, { "films" });
    for (const bool isEdit : { false, true }) {
        if (isEdit)
            showToEdit(host->sharePointForName("films"));
        else
            showToAdd();
        sheet->_Name.set(missing.name);
        sheet->_DisplayType.set(missing.service);
        sheet->_SharePoint.set(missing.share);
        sheet->_UserName.set(missing.user);
        sheet->_GuestLogin.set(missing.guest);
        sheet->_Password.set("secret");
        window.clearEvents();
        sheet->addMountSaveAction();
        EXPECT_THAT(window.events(), ElementsAre("alert")) << missing.what;
        ASSERT_FALSE(window.alerts().empty());
        EXPECT_EQ(window.alerts().back(), (Alert { missing.title, missing.message, "Ok" })) << missing.what;
        window.closeAlert();
        EXPECT_THAT(window.events(), ElementsAre("alert", missing.focus)) << missing.what;
        EXPECT_EQ(sheet->_Name.get(), missing.name);
        EXPECT_EQ(sheet->_SharePoint.get(), missing.share);
        EXPECT_EQ(sheet->_UserName.get(), missing.user);
        EXPECT_EQ(sheet->_Password.get(), "secret");
        EXPECT_THAT(hostNames(), ElementsAre("nas"));
        EXPECT_THAT(sharesOf(host), ElementsAre("films under " + std::string(smb)));
        EXPECT_EQ(sheet->isAdd(), !isEdit);
        EXPECT_FALSE(sheet->isEditedMountRemoved());
        EXPECT_TRUE(sheet->isShown());
        EXPECT_THAT(saves, IsEmpty());
        sheet->cancelMountSheet();
    }
}

INSTANTIATE_TEST_SUITE_P(AddMountWindowController, MissingFieldTest,
    testing::Values(MissingField { "no server", std::nullopt, smb, "films", "anna", false, "Oups!",
                        "Server Name is a needed field.", "focus server name" },
        MissingField { "empty server", "", smb, "films", "anna", false, "Oups!", "Server Name is a needed field.",
            "focus server name" },
        MissingField { "no server, no share, no user", std::nullopt, smb, std::nullopt, std::nullopt, std::nullopt,
            "Oups!", "Server Name is a needed field.", "focus server name" },
        MissingField { "no server for a file transfer share", std::nullopt, ftp, std::nullopt, std::nullopt, true,
            "Oups!", "Server Name is a needed field.", "focus server name" },
        MissingField { "no share", "nas", smb, std::nullopt, "anna", false, "Hey!", "Share name is a needed field",
            "focus share point" },
        MissingField { "empty share", "nas", webDav, "", "anna", false, "Hey!", "Share name is a needed field",
            "focus share point" },
        MissingField { "no share for a guest", "nas", afp, std::nullopt, std::nullopt, true, "Hey!",
            "Share name is a needed field", "focus share point" },
        MissingField { "no share and no user", "nas", smb, "", "", false, "Hey!", "Share name is a needed field",
            "focus share point" },
        MissingField { "no user", "nas", smb, "films", std::nullopt, false, "Hey!",
            "User Name needed, or check the guest login option", "focus user name" },
        MissingField { "empty user, guest login never touched", "nas", smb, "films", "", std::nullopt, "Hey!",
            "User Name needed, or check the guest login option", "focus user name" },
        MissingField { "no user for a file transfer share", "nas", ftp, "", "", false, "Hey!",
            "User Name needed, or check the guest login option", "focus user name" }));

TEST(AddMountWindowControllerLanguageTest, EveryAlertIsInTheUsersLanguage) {
    const FakeStringTable german({ { "Oups!", "Hoppla!" }, { "Hey!", "He!" }, { "Ok", "Gut" },
        { "Server Name is a needed field.", "Servername fehlt." },
        { "Share name is a needed field", "Freigabename fehlt" },
        { "User Name needed, or check the guest login option", "Benutzername fehlt" },
        { "%@ already exists for %@ under the %@ service.\n Can't add.", "%@ gibt es auf %@ schon (%@)." } });
    const FakeWorkspace workspace;
    struct : Observable {
        ObservableList<std::shared_ptr<HostDefinition>> hosts { *this, "hosts" };
    } catalogue;
    NotificationCenter center;
    FakeAddMountWindow window;
    AddMountWindowController sheet(
        window, catalogue.hosts, std::make_shared<CatalogueContext>(CatalogueContext { german, workspace }), center);
    const auto save = [&] {
        sheet.addMountSaveAction();
        window.closeAlert();
    };
    sheet.setIsAdd(true);
    sheet.showSheetForWindow();
    save();
    sheet._Name.set("nas");
    save();
    sheet._SharePoint.set("films");
    save();
    sheet._UserName.set("anna");
    save();
    sheet.showSheetForWindow();
    sheet._Name.set("nas");
    sheet._SharePoint.set("films");
    sheet._UserName.set("anna");
    save();
    using Alert = FakeAddMountWindow::Alert;
    EXPECT_THAT(window.alerts(),
        ElementsAre(Alert { "Hoppla!", "Servername fehlt.", "Gut" }, Alert { "He!", "Freigabename fehlt", "Gut" },
            Alert { "He!", "Benutzername fehlt", "Gut" },
            Alert { "Hoppla!", "films gibt es auf nas schon (Apple Filing Protocol (afp)).", "Gut" }));
}

TEST_F(AddMountWindowControllerTest, AnAlertClosedAfterTheSheetLeavesTheNextSheetAlone) {
    showToAdd();
    sheet->addMountSaveAction();
    sheet->cancelMountSheet();
    showToAdd();
    window.clearEvents();
    window.closeAlert();
    EXPECT_THAT(window.events(), IsEmpty());
}

// Ending

TEST_F(AddMountWindowControllerTest, TheEndOfTheSheetHidesItAndClearsEveryField) {
    showToEdit(addFullSharePoint());
    window.clearEvents();
    sheet->cancelMountSheet();
    EXPECT_THAT(window.events(), ElementsAre("end", "out"));
    expectFieldsAbsent();
    EXPECT_FALSE(sheet->isShown());
}

TEST_F(AddMountWindowControllerTest, TheSheetIsHiddenBeforeItsFieldsGoEmpty) {
    showToEdit(addFullSharePoint());
    OptionalText seen;
    window.setWitness([&](const std::string& event) {
        if (event == "out")
            seen = sheet->_Name.get();
    });
    sheet->cancelMountSheet();
    EXPECT_EQ(seen, "nas");
}

TEST_F(AddMountWindowControllerTest, TheNextRunKnowsNothingOfTheSharePointEditedBefore) {
    showToEdit(addFullSharePoint());
    sheet->cancelMountSheet();
    sheet->setIsAdd(true);
    sheet->setIsEdit(false);
    sheet->showSheetForWindow();
    EXPECT_FALSE(sheet->_SharePoint.get());
    EXPECT_FALSE(sheet->_Name.get());
}

TEST_F(AddMountWindowControllerTest, CancelChangesNothing) {
    const auto mount = addFullSharePoint();
    const auto host = mount->parentHost.get().lock();
    showToEdit(mount);
    sheet->_Name.set("other");
    sheet->_SharePoint.set("music");
    AnnouncementRecorder ofHost(*host);
    AnnouncementRecorder ofMount(*mount);
    AnnouncementRecorder ofCatalogue(catalogue);
    sheet->cancelMountSheet();
    EXPECT_THAT(ofHost.take(), IsEmpty());
    EXPECT_THAT(ofMount.take(), IsEmpty());
    EXPECT_THAT(ofCatalogue.take(), IsEmpty());
    EXPECT_THAT(saves, IsEmpty());
}

TEST_F(AddMountWindowControllerTest, ASheetThatIsClosedOrClosingTakesNoActions) {
    type("nas", smb, "films");
    sheet->setIsAdd(true);
    sheet->addMountSaveAction();
    sheet->cancelMountSheet();
    sheet->selectScript();
    EXPECT_THAT(window.events(), IsEmpty());
    EXPECT_THAT(hostNames(), IsEmpty());

    showToAdd();
    type("nas", smb, "films");
    window.endLater();
    sheet->addMountSaveAction();
    sheet->addMountSaveAction();
    sheet->cancelMountSheet();
    EXPECT_THAT(window.alerts(), IsEmpty());
    EXPECT_THAT(window.events(), ElementsAre("focus server name", "begin", "end"));
    EXPECT_EQ(saves.size(), 1U);
    EXPECT_TRUE(sheet->isShown());
    window.finishEnd();
    EXPECT_FALSE(sheet->isShown());
    expectFieldsAbsent();
}

TEST_F(AddMountWindowControllerTest, AControllerThatEndsUnderItsSheetTakesItAwayAndIsCalledNoMore) {
    showToAdd();
    sheet->addMountSaveAction();
    sheet->selectScript();
    window.clearEvents();
    sheet.reset();
    EXPECT_THAT(window.events(), ElementsAre("out"));
    window.closeAlert();
    window.closePanel("/bin/true");
    EXPECT_THAT(window.events(), ElementsAre("out"));
}

TEST_F(AddMountWindowControllerTest, AControllerThatEndsWithoutASheetLeavesTheWindowAlone) {
    sheet.reset();
    EXPECT_THAT(window.events(), IsEmpty());
}

// The script's panel

TEST_F(AddMountWindowControllerTest, TheScriptsPanelOffersOneFileAndNoNewFolders) {
    showToAdd();
    sheet->selectScript();
    ASSERT_TRUE(window.panelOptions());
    EXPECT_FALSE(window.panelOptions()->canCreateDirectories);
    EXPECT_TRUE(window.panelOptions()->canChooseFiles);
    EXPECT_FALSE(window.panelOptions()->canChooseDirectories);
    EXPECT_FALSE(window.panelOptions()->allowsMultipleSelection);
}

TEST_F(AddMountWindowControllerTest, AChosenScriptIsTakenAndACancelledChoiceChangesNothing) {
    showToAdd();
    sheet->selectScript();
    window.closePanel("/home/user/mounted.sh");
    EXPECT_EQ(sheet->_script.get(), "/home/user/mounted.sh");
    sheet->selectScript();
    AnnouncementRecorder recorder(*sheet);
    window.closePanel(std::nullopt);
    EXPECT_THAT(recorder.take(), IsEmpty());
    EXPECT_EQ(sheet->_script.get(), "/home/user/mounted.sh");
}

TEST_F(AddMountWindowControllerTest, AScriptChosenAfterTheSheetIsNotTheNextSheets) {
    showToAdd();
    sheet->selectScript();
    sheet->cancelMountSheet();
    showToAdd();
    window.closePanel("/home/user/mounted.sh");
    EXPECT_FALSE(sheet->_script.get());
}

// Names of servers

TEST_F(AddMountWindowControllerTest, OffersTheServersOfTheCatalogueAndThoseSeenEachOnce) {
    addHost("nas", smb);
    addHost("Attic", smb);
    addHost("attic", smb);
    addHost("", smb);
    catalogue.names.append("nas");
    catalogue.names.append("beamer");
    catalogue.names.append("Zoo");
    EXPECT_THAT(sheet->serverNames(), ElementsAre("Attic", "attic", "beamer", "nas", "Zoo"));
    sheet->setBonjourServices(nullptr);
    EXPECT_THAT(sheet->serverNames(), ElementsAre("Attic", "attic", "nas"));
}

TEST_F(AddMountWindowControllerTest, OffersServersThatCameWhileTheSheetIsOpen) {
    showToAdd();
    EXPECT_THAT(sheet->serverNames(), IsEmpty());
    catalogue.names.append("beamer");
    EXPECT_THAT(sheet->serverNames(), ElementsAre("beamer"));
}

} // namespace quorrel
