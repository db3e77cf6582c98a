// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/Globals.h"
#include "Tests/Sources/AddMountFixture.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>

namespace quorrel {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// What the share editor does to the catalogue.
class AddMountSavingTest : public AddMountFixture {
protected:
    /// Keeps, for every announcement of the host and the catalogue, how things stood then.
    struct Steps final {
        std::vector<std::string> seen;
        std::vector<Subscription> subscriptions;
    };
    void watch(Steps& steps, Observable& object) {
        steps.subscriptions.push_back(object.observeAll([&steps](std::string_view key, Change change) {
            if (change == Change::Did)
                steps.seen.emplace_back(key);
        }));
    }
    void watchEnd(Steps& steps) {
        window.setWitness([&steps](const std::string& event) { steps.seen.push_back(event); });
        steps.subscriptions.push_back(
            notificationCenter.addObserver("900", [&steps](const Notification&) { steps.seen.emplace_back("900"); }));
    }
};

// A host of that name is there

TEST_F(AddMountSavingTest, AServiceThatTheHostLacksIsAdded) {
    const auto nas = addHost("nas", smb, { "films" });
    add("nas", ftp, "films");
    EXPECT_THAT(hostNames(), ElementsAre("nas"));
    EXPECT_THAT(servicesOf(nas), ElementsAre(smb, ftp));
    EXPECT_THAT(sharesOf(nas), ElementsAre(under("films", smb), under("films", ftp)));
    EXPECT_THAT(window.alerts(), IsEmpty());
    EXPECT_EQ(saves.size(), 1U);
}

TEST_F(AddMountSavingTest, ANewServiceBelongsToItsHostAndIsFoundByItsType) {
    const auto nas = addHost("nas", smb);
    add("nas", secureWebDav, "films");
    const auto service = nas->serviceForDisplayType(secureWebDav);
    ASSERT_TRUE(service);
    EXPECT_EQ(service->parentHost.get().lock(), nas);
    EXPECT_EQ(service->port.get(), -1);
    EXPECT_EQ(service->type.get(), "_http._tcp.");
}

TEST_F(AddMountSavingTest, AServiceThatTheHostHasIsUsed) {
    const auto nas = addHost("nas", smb, { "films" });
    add("nas", smb, "music");
    EXPECT_THAT(servicesOf(nas), ElementsAre(smb));
    EXPECT_THAT(sharesOf(nas), ElementsAre(under("films", smb), under("music", smb)));
    EXPECT_EQ(saves.size(), 1U);
}

TEST_F(AddMountSavingTest, ANameThatIsTakenUnderTheSameServiceIsRefusedAndTheSheetStaysOpen) {
    const auto nas = addHost("nas", smb, { "films" });
    showToAdd();
    type("nas", smb, "films");
    window.clearEvents();
    AnnouncementRecorder ofHost(*nas);
    AnnouncementRecorder ofCatalogue(catalogue);
    sheet->addMountSaveAction();
    EXPECT_THAT(window.alerts(),
        ElementsAre(Alert { "Oups!",
            "films already exists for nas under the Server Message Block (smb) service.\n Can't add.", "Ok" }));
    window.closeAlert();
    EXPECT_THAT(window.events(), ElementsAre("alert"));
    EXPECT_THAT(ofHost.take(), IsEmpty());
    EXPECT_THAT(ofCatalogue.take(), IsEmpty());
    EXPECT_THAT(saves, IsEmpty());
    EXPECT_EQ(sheet->_SharePoint.get(), "films");
    EXPECT_TRUE(sheet->isShown());
    EXPECT_FALSE(sheet->isEditedMountRemoved());

    sheet->_SharePoint.set("music");
    sheet->addMountSaveAction();
    EXPECT_THAT(sharesOf(nas), ElementsAre(under("films", smb), under("music", smb)));
    EXPECT_FALSE(sheet->isShown());
}

TEST_F(AddMountSavingTest, ASignInANameIsNoPlaceForAnother) {
    addHost("%@", smb, { "%@ %d" });
    add("%@", smb, "%@ %d");
    ASSERT_EQ(window.alerts().size(), 1U);
    EXPECT_EQ(window.alerts().front().message,
        "%@ %d already exists for %@ under the Server Message Block (smb) service.\n Can't add.");
}

TEST_F(AddMountSavingTest, ANameThatIsTakenUnderAnotherServiceIsAddedASecondTime) {
    const auto nas = addHost("nas", smb, { "films" });
    addService(nas, afp);
    add("nas", afp, "films");
    EXPECT_THAT(servicesOf(nas), ElementsAre(smb, afp));
    EXPECT_THAT(sharesOf(nas), ElementsAre(under("films", smb), under("films", afp)));
    EXPECT_THAT(window.alerts(), IsEmpty());
    EXPECT_EQ(saves.size(), 1U);
}

TEST_F(AddMountSavingTest, ANameThatIsTakenUnderBothServicesIsRefusedForEither) {
    const auto nas = addHost("nas", smb, { "films" });
    addService(nas, afp);
    add("nas", afp, "films");
    add("nas", afp, "films");
    EXPECT_EQ(window.alerts().size(), 1U);
    sheet->cancelMountSheet();
    add("nas", smb, "films");
    EXPECT_EQ(window.alerts().size(), 2U);
    EXPECT_EQ(nas->sharePoints.count(), 2U);
}

TEST_F(AddMountSavingTest, AnEmptyPasswordIsCopiedUnlessTheNameIsTakenUnderAnotherService) {
    const auto nas = addHost("nas", smb, { "films" });
    addService(nas, afp);
    const auto addWithPassword = [&](const char* service, const char* share, const OptionalText& password) {
        showToAdd();
        type("nas", service, share);
        sheet->_Password.set(password);
        sheet->addMountSaveAction();
        return nas->sharePoints.snapshot().back()->password.get();
    };
    EXPECT_EQ(addWithPassword(afp, "films", ""), std::nullopt);
    EXPECT_EQ(addWithPassword(afp, "music", ""), "");
    EXPECT_EQ(addWithPassword(smb, "music", "secret"), "secret");
    EXPECT_EQ(addWithPassword(ftp, "music", ""), "");
    EXPECT_EQ(addWithPassword(ftp, "photos", std::nullopt), std::nullopt);
    EXPECT_EQ(nas->sharePoints.count(), 6U);
}

TEST_F(AddMountSavingTest, TheFirstHostOfTheNameIsTakenAndNamesAreComparedExactly) {
    const auto capital = addHost("NAS", smb);
    const auto first = addHost("nas", smb);
    const auto second = addHost("nas", smb);
    add("nas", smb, "films");
    EXPECT_EQ(capital->sharePoints.count(), 0U);
    EXPECT_EQ(first->sharePoints.count(), 1U);
    EXPECT_EQ(second->sharePoints.count(), 0U);
}

TEST_F(AddMountSavingTest, ASharePointOfAnotherSpellingIsAnother) {
    const auto nas = addHost("nas", smb, { "films" });
    add("nas", smb, "Films");
    EXPECT_EQ(nas->sharePoints.count(), 2U);
}

TEST_F(AddMountSavingTest, OnAKnownHostTheServiceComesFirstThenTheSharePointThenTheCounts) {
    const auto nas = addHost("nas", smb);
    showToAdd();
    type("nas", ftp, "films");
    Steps steps;
    watch(steps, *nas);
    watch(steps, catalogue);
    watchEnd(steps);
    sheet->addMountSaveAction();
    EXPECT_THAT(steps.seen,
        ElementsAre("services", "sharePoints", "servicesCountString", "sharesCountString", "end", "out", "900"));
}

TEST_F(AddMountSavingTest, ASharePointIsCompleteWhenTheHostAnnouncesIt) {
    const auto nas = addHost("nas", smb);
    showToAdd();
    type("nas", smb, "films");
    OptionalText status;
    OptionalText name;
    const auto subscription = nas->observe("sharePoints", [&](std::string_view, Change change) {
        if (change == Change::Did) {
            status = nas->sharePoints.snapshot().back()->status.get();
            name = nas->sharePoints.snapshot().back()->sharePoint.get();
        }
    });
    sheet->addMountSaveAction();
    EXPECT_EQ(status, "Offline");
    EXPECT_EQ(name, "films");
}

TEST_F(AddMountSavingTest, AKnownHostKeepsWhatThisRunFoundOut) {
    const auto nas = addHost("nas", smb);
    nas->resolved.set(true);
    nas->password.set("secret");
    add("nas", smb, "films");
    EXPECT_TRUE(nas->resolved.get());
    EXPECT_EQ(nas->password.get(), "secret");
}

// No host of that name is there

TEST_F(AddMountSavingTest, AnUnknownServerBecomesAHost) {
    const auto nas = addHost("nas", smb, { "films" });
    add("attic", smb, "films");
    ASSERT_THAT(hostNames(), ElementsAre("nas", "attic"));
    const auto attic = host(1);
    EXPECT_THAT(servicesOf(attic), ElementsAre(smb));
    EXPECT_THAT(sharesOf(attic), ElementsAre(under("films", smb)));
    const auto service = attic->services.snapshot().front();
    EXPECT_EQ(service->parentHost.get().lock(), attic);
    EXPECT_EQ(service->type.get(), "_smb._tcp.");
    EXPECT_EQ(attic->sharePoints.snapshot().front()->parentHost.get().lock(), attic);
    EXPECT_EQ(attic->automatically.get(), true);
    EXPECT_FALSE(attic->bonjour.get());
    EXPECT_EQ(attic->sharePoints.snapshot().front()->status.get(), "Offline");
    EXPECT_EQ(saves.size(), 1U);
}

TEST_F(AddMountSavingTest, ANewHostHasTheIconOfItsKindOfServer) {
    for (const char* service : { smb, cifs, webDav, secureWebDav, ftp, afp })
        add(std::string("host of ") + service, service, "films");
    ASSERT_EQ(catalogue.hosts.count(), 6U);
    for (std::size_t index = 0; index < 5; ++index)
        EXPECT_EQ(host(index)->icon.get(), Globals::getDefaultPCComputerIcon(workspace)) << hostNames()[index];
    EXPECT_EQ(host(5)->icon.get(), Globals::getDefaultMacComputerIcon(workspace));
    EXPECT_NE(host(4)->icon.get(), host(5)->icon.get());
}

TEST_F(AddMountSavingTest, ANewHostIsCompleteWhenTheCatalogueAnnouncesItAndResetLast) {
    showToAdd();
    type("attic", afp, "films");
    Steps steps;
    watchEnd(steps);
    const auto subscription = catalogue.observe("hosts", [&](std::string_view, Change change) {
        if (change == Change::Will)
            return;
        const auto attic = host(0);
        steps.seen.push_back("hosts with " + sharesOf(attic).at(0));
        EXPECT_TRUE(attic->icon.get());
        watch(steps, *attic);
        watch(steps, *attic->sharePoints.snapshot().front());
    });
    sheet->addMountSaveAction();
    EXPECT_THAT(steps.seen,
        ElementsAre("hosts with " + under("films", afp), "password", "passwordDate", "timeout", "resolved", "resolving",
            "monitoring", "bonjour", "mounting", "mounted", "status", "unmounting", "status", "mounted", "status",
            "end", "out", "900"));
}

TEST_F(AddMountSavingTest, EveryFieldOfTheSheetIsInTheNewSharePoint) {
    for (const char* server : { "nas", "nas" }) { // a new host first, then a known one
        showToAdd();
        const std::string share = catalogue.hosts.count() == 0 ? "films" : "music";
        type(server, smb, share);
        sheet->_UserName.set("anna");
        sheet->_Password.set("secret");
        sheet->_PasswordPrompt.set(true);
        sheet->_GuestLogin.set(std::nullopt);
        sheet->_Automatically.set(false);
        sheet->_Favroite.set(true);
        sheet->_script.set("/bin/true");
        sheet->_scriptArguments.set("-v");
        sheet->_isDelayed.set(true);
        sheet->_delaySeconds.set(7);
        sheet->addMountSaveAction();
        ASSERT_EQ(catalogue.hosts.count(), 1U);
        const auto added = host(0)->sharePointForName(share);
        ASSERT_TRUE(added);
        EXPECT_EQ(added->parentHost.get().lock(), host(0));
        EXPECT_EQ(added->parentService.get().lock(), host(0)->serviceForDisplayType(smb));
        EXPECT_EQ(added->displayType.get(), smb);
        EXPECT_EQ(added->icon.get(), workspace.systemIcon(SystemIcon::GenericServer));
        EXPECT_EQ(added->userName.get(), "anna");
        EXPECT_EQ(added->password.get(), "secret");
        EXPECT_EQ(added->passwordPrompt.get(), true);
        EXPECT_EQ(added->guestLogin.get(), std::nullopt);
        EXPECT_EQ(added->automatically.get(), false);
        EXPECT_EQ(added->favroite.get(), true);
        EXPECT_EQ(added->script.get(), "/bin/true");
        EXPECT_EQ(added->scriptArguments.get(), "-v");
        EXPECT_EQ(added->isDelayed.get(), true);
        EXPECT_EQ(added->delaySeconds.get(), 7);
        EXPECT_EQ(added->status.get(), "Offline");
        EXPECT_FALSE(added->mounted.get());
    }
}

// What may be missing, and what is odd

TEST_F(AddMountSavingTest, AFileTransferShareNeedsNoName) {
    add("nas", ftp, std::nullopt);
    add("attic", ftp, "");
    ASSERT_THAT(hostNames(), ElementsAre("nas", "attic"));
    EXPECT_EQ(host(0)->sharePoints.snapshot().front()->sharePoint.get(), std::nullopt);
    EXPECT_EQ(host(1)->sharePoints.snapshot().front()->sharePoint.get(), "");
    EXPECT_THAT(window.alerts(), IsEmpty());
}

TEST_F(AddMountSavingTest, SharesWithoutANameHaveNoneToShare) {
    add("nas", ftp, std::nullopt);
    add("nas", ftp, std::nullopt);
    EXPECT_THAT(window.alerts(), IsEmpty());
    EXPECT_EQ(host(0)->sharePoints.count(), 2U);
}

TEST_F(AddMountSavingTest, AGuestNeedsNoUserNameAndThePasswordIsCopiedAllTheSame) {
    showToAdd();
    type("nas", smb, "films");
    sheet->_UserName.set("");
    sheet->_Password.set("secret");
    sheet->addMountSaveAction();
    ASSERT_THAT(hostNames(), ElementsAre("nas"));
    const auto added = host(0)->sharePointForName("films");
    EXPECT_EQ(added->userName.get(), "");
    EXPECT_EQ(added->password.get(), "secret");
    EXPECT_EQ(added->guestLogin.get(), true);
}

TEST_F(AddMountSavingTest, ASheetThatNeitherAddsNorEditsSavesNothing) {
    sheet->setIsAdd(false);
    sheet->setIsEdit(false);
    sheet->showSheetForWindow();
    sheet->addMountSaveAction();
    EXPECT_EQ(window.alerts().size(), 1U) << "what is missing is told all the same";
    window.closeAlert();
    type("nas", smb, "films");
    sheet->addMountSaveAction();
    EXPECT_THAT(hostNames(), IsEmpty());
    EXPECT_THAT(saves, IsEmpty());
    EXPECT_TRUE(sheet->isShown());
}

TEST_F(AddMountSavingTest, NamesAreKeptAsTheyWereTyped) {
    const std::string name = " n\na\ts\x01 \xff" + std::string(100'000, 'x') + " ";
    add(name, smb, " ");
    ASSERT_THAT(hostNames(), ElementsAre(name));
    EXPECT_THAT(sharesOf(host(0)), ElementsAre(under(" ", smb)));
    add(name, smb, " ");
    EXPECT_EQ(window.alerts().size(), 1U);
}

TEST_F(AddMountSavingTest, ADelayIsKeptWhateverItIs) {
    showToAdd();
    type("nas", smb, "films");
    sheet->_delaySeconds.set(-1);
    sheet->addMountSaveAction();
    showToAdd();
    type("nas", smb, "music");
    sheet->_delaySeconds.set(std::numeric_limits<double>::quiet_NaN());
    sheet->addMountSaveAction();
    EXPECT_EQ(host(0)->sharePointForName("films")->delaySeconds.get(), -1);
    EXPECT_TRUE(std::isnan(host(0)->sharePointForName("music")->delaySeconds.get().value_or(0)));
}

TEST_F(AddMountSavingTest, ASaveIsPostedByTheSheetWithoutInformation) {
    add("nas", smb, "films");
    ASSERT_EQ(saves.size(), 1U);
    EXPECT_EQ(saves.front().object, sheet.get());
    EXPECT_FALSE(saves.front().userInfo);
}

TEST_F(AddMountSavingTest, WhoeverWantsToKnowIsToldWhatWasSavedAfterTheSave) {
    std::vector<SharePointPointer> told;
    std::size_t savesBefore = 0;
    sheet->setSavedHandler([&](const SharePointPointer& saved) {
        told.push_back(saved);
        savesBefore = saves.size();
    });
    add("nas", smb, "films");
    add("nas", smb, "music");
    EXPECT_EQ(savesBefore, 2U);
    add("nas", smb, "films");
    sheet->cancelMountSheet();
    EXPECT_THAT(told, ElementsAre(host(0)->sharePointForName("films"), host(0)->sharePointForName("music")));
}

} // namespace quorrel
