// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Sources/AddMountFixture.h"

#include <gmock/gmock.h>

namespace quorrel {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// What the share editor does to a share point that is there already.
class AddMountEditingTest : public AddMountFixture {
protected:
    /// Tries to give the share point a name that another one has.
    void refuseToRename(const SharePointPointer& edited, const char* takenName) {
        showToEdit(edited);
        sheet->_GuestLogin.set(true);
        sheet->_SharePoint.set(takenName);
        sheet->addMountSaveAction();
        window.closeAlert();
        EXPECT_TRUE(sheet->isEditedMountRemoved());
    }
};

TEST_F(AddMountEditingTest, AnEditReplacesTheSharePointByANewOneAtTheEnd) {
    const auto nas = addHost("nas", smb, { "films", "music" });
    const auto edited = nas->sharePointForName("films");
    showToEdit(edited);
    sheet->_GuestLogin.set(true);
    sheet->_scriptArguments.set("-v");
    sheet->addMountSaveAction();
    EXPECT_THAT(window.alerts(), IsEmpty());
    EXPECT_THAT(sharesOf(nas), ElementsAre(under("music", smb), under("films", smb)));
    EXPECT_NE(nas->sharePointForName("films"), edited);
    EXPECT_EQ(nas->sharePointForName("films")->scriptArguments.get(), "-v");
    EXPECT_THAT(hostNames(), ElementsAre("nas"));
    EXPECT_EQ(saves.size(), 1U);
    EXPECT_FALSE(sheet->isShown());
}

TEST_F(AddMountEditingTest, AHostsOnlySharePointMovesWithItsHostUnderANewName) {
    const auto nas = addHost("nas", afp, { "films" });
    nas->bonjour.set(true);
    showToEdit(nas->sharePointForName("films"));
    sheet->_GuestLogin.set(true);
    sheet->_Name.set("attic");
    sheet->addMountSaveAction();
    ASSERT_THAT(hostNames(), ElementsAre("attic"));
    EXPECT_THAT(sharesOf(host(0)), ElementsAre(under("films", afp)));
    EXPECT_EQ(nas->sharePoints.count(), 0U);
    EXPECT_EQ(saves.size(), 1U);
}

TEST_F(AddMountEditingTest, AnEditedShareCanMoveToAnotherHostWhileTheOldOneStays) {
    const auto nas = addHost("nas", smb, { "films", "music" });
    const auto attic = addHost("attic", smb, { "photos" });
    showToEdit(nas->sharePointForName("films"));
    type("attic", smb, "films");
    AnnouncementRecorder ofOldHost(*nas);
    sheet->addMountSaveAction();
    EXPECT_THAT(hostNames(), ElementsAre("nas", "attic"));
    EXPECT_THAT(sharesOf(nas), ElementsAre(under("music", smb)));
    EXPECT_THAT(sharesOf(attic), ElementsAre(under("photos", smb), under("films", smb)));
    EXPECT_THAT(ofOldHost.take(), testing::IsSupersetOf({ "did sharePoints", "did sharesCountString" }));
}

TEST_F(AddMountEditingTest, AMountedSharePointIsEditedWithoutBeingUnmountedAndTheNewOneStartsAnew) {
    const auto nas = addHost("nas", smb, { "films" });
    const auto edited = nas->sharePointForName("films");
    edited->setMounted(true);
    edited->referenceNumber.set(7);
    showToEdit(edited);
    sheet->_GuestLogin.set(true);
    sheet->addMountSaveAction();
    EXPECT_TRUE(edited->mounted.get());
    EXPECT_EQ(edited->referenceNumber.get(), 7);
    const auto renewed = host(0)->sharePointForName("films");
    EXPECT_FALSE(renewed->mounted.get());
    EXPECT_FALSE(renewed->referenceNumber.get());
    EXPECT_EQ(renewed->status.get(), "Offline");
}

TEST_F(AddMountEditingTest, AnEditThatIsRefusedLeavesTheSharePointOutAndTheSheetAsTyped) {
    const auto nas = addHost("nas", smb, { "films", "music" });
    showToEdit(nas->sharePointForName("films"));
    sheet->_GuestLogin.set(true);
    sheet->_SharePoint.set("music");
    bool wasMarkedBeforeTheAlert = false;
    window.setWitness([&](const std::string& event) {
        if (event == "alert")
            wasMarkedBeforeTheAlert = sheet->isEditedMountRemoved();
    });
    AnnouncementRecorder ofSheet(*sheet);
    sheet->addMountSaveAction();
    EXPECT_EQ(window.alerts().size(), 1U);
    EXPECT_THAT(sharesOf(nas), ElementsAre(under("music", smb)));
    EXPECT_TRUE(sheet->isAdd());
    EXPECT_TRUE(sheet->isEdit());
    EXPECT_TRUE(wasMarkedBeforeTheAlert);
    EXPECT_THAT(ofSheet.take(), ElementsAre("will isEditedMountRemoved", "did isEditedMountRemoved"));
    EXPECT_TRUE(sheet->isShown());
    EXPECT_THAT(saves, IsEmpty());
}

TEST_F(AddMountEditingTest, ARefusedEditThatEmptiedItsHostTakesTheHostOutToo) {
    const auto nas = addHost("nas", smb, { "films" });
    const auto attic = addHost("attic", smb, { "films" });
    showToEdit(nas->sharePointForName("films"));
    type("attic", smb, "films");
    sheet->addMountSaveAction();
    EXPECT_THAT(hostNames(), ElementsAre("attic"));
    EXPECT_TRUE(sheet->isEditedMountRemoved());

    sheet->_Name.set("nas");
    sheet->addMountSaveAction();
    EXPECT_THAT(hostNames(), ElementsAre("attic", "nas"));
    EXPECT_THAT(sharesOf(host(1)), ElementsAre(under("films", smb)));
    EXPECT_EQ(attic->sharePoints.count(), 1U);
    EXPECT_FALSE(sheet->isEditedMountRemoved());
    EXPECT_EQ(saves.size(), 1U);
}

TEST_F(AddMountEditingTest, AnEditCanBeRefusedTwiceAndThenSavedUnderAFreeName) {
    const auto nas = addHost("nas", smb, { "films", "music", "photos" });
    // Held as a list in a window holds it: the record itself outlives its removal.
    const auto edited = nas->sharePointForName("films");
    showToEdit(edited);
    sheet->_GuestLogin.set(true);
    sheet->_SharePoint.set("music");
    sheet->addMountSaveAction();
    window.closeAlert();
    AnnouncementRecorder ofHost(*nas);
    sheet->_SharePoint.set("photos");
    sheet->addMountSaveAction();
    window.closeAlert();
    EXPECT_THAT(ofHost.take(), IsEmpty()) << "it was removed already";
    EXPECT_EQ(window.alerts().size(), 2U);
    EXPECT_TRUE(sheet->isEditedMountRemoved());

    sheet->_SharePoint.set("");
    sheet->addMountSaveAction();
    window.closeAlert();
    EXPECT_TRUE(sheet->isEditedMountRemoved());

    sheet->_SharePoint.set("films");
    sheet->addMountSaveAction();
    EXPECT_THAT(sharesOf(nas), ElementsAre(under("music", smb), under("photos", smb), under("films", smb)));
    EXPECT_FALSE(sheet->isEditedMountRemoved());
    EXPECT_EQ(saves.size(), 1U);
}

TEST_F(AddMountEditingTest, CancelAfterARefusedEditBringsNothingBackAndSavesNothing) {
    const auto nas = addHost("nas", smb, { "films", "music" });
    showToEdit(nas->sharePointForName("films"));
    sheet->_GuestLogin.set(true);
    sheet->_SharePoint.set("music");
    sheet->addMountSaveAction();
    window.closeAlert();
    sheet->cancelMountSheet();
    EXPECT_THAT(sharesOf(nas), ElementsAre(under("music", smb)));
    EXPECT_THAT(saves, IsEmpty());
    EXPECT_FALSE(sheet->isEditedMountRemoved());
}

TEST_F(AddMountEditingTest, WhoCancelsIsAskedOnlyWhereTheEditedShareWouldBeLost) {
    const auto nas = addHost("nas", smb, { "films", "music" });
    showToAdd();
    sheet->askToCancel();
    EXPECT_FALSE(sheet->isShown());
    add("nas", smb, "music");
    window.closeAlert();
    sheet->askToCancel();
    EXPECT_FALSE(sheet->isShown()) << "a refused addition loses nothing";
    showToEdit(nas->sharePointForName("films"));
    sheet->askToCancel();
    EXPECT_FALSE(sheet->isShown());
    EXPECT_FALSE(window.question());
    EXPECT_THAT(saves, IsEmpty());
}

TEST_F(AddMountEditingTest, KeepingToEditARefusedShareKeepsTheSheetAsItIs) {
    const auto nas = addHost("nas", smb, { "films", "music" });
    refuseToRename(nas->sharePointForName("films"), "music");
    sheet->askToCancel();
    ASSERT_TRUE(window.question());
    EXPECT_EQ(window.question()->title, "Do you want to give up the share you were editing?");
    EXPECT_EQ(window.question()->message,
        "It is no longer in the catalogue. Only saving it under another name brings it back.");
    EXPECT_EQ(window.question()->defaultButton, "Keep Editing");
    EXPECT_EQ(window.question()->alternateButton, "Give Up");
    window.answer(AlertAnswer::Default);
    EXPECT_TRUE(sheet->isShown());
    EXPECT_TRUE(sheet->isEditedMountRemoved());
    EXPECT_EQ(sheet->_SharePoint.get(), "music");
    EXPECT_THAT(saves, IsEmpty());
}

TEST_F(AddMountEditingTest, AShareThatIsGivenUpIsOutOfTheFileToo) {
    const auto nas = addHost("nas", smb, { "films", "music" });
    refuseToRename(nas->sharePointForName("films"), "music");
    sheet->askToCancel();
    bool wasShownAtSave = true;
    const auto observer
        = notificationCenter.addObserver("900", [&](const Notification&) { wasShownAtSave = sheet->isShown(); });
    window.answer(AlertAnswer::Alternate);
    EXPECT_FALSE(sheet->isShown());
    EXPECT_FALSE(wasShownAtSave);
    EXPECT_THAT(sharesOf(nas), ElementsAre(under("music", smb)));
    ASSERT_EQ(saves.size(), 1U);
    EXPECT_EQ(saves.front().object, sheet.get());
    EXPECT_FALSE(saves.front().userInfo);
}

TEST_F(AddMountEditingTest, AnAnswerThatComesAfterTheSheetGivesNothingUp) {
    const auto nas = addHost("nas", smb, { "films", "music" });
    refuseToRename(nas->sharePointForName("films"), "music");
    sheet->askToCancel();
    sheet->cancelMountSheet();
    showToAdd();
    window.answer(AlertAnswer::Alternate);
    EXPECT_TRUE(sheet->isShown());
    sheet->cancelMountSheet();
    refuseToRename(addSharePoint(nas, smb, "films"), "music");
    sheet->askToCancel();
    sheet.reset();
    window.answer(AlertAnswer::Alternate);
    EXPECT_THAT(saves, IsEmpty());
}

TEST_F(AddMountEditingTest, ARefusedEditMarksNothingInALaterAddition) {
    const auto nas = addHost("nas", smb, { "films", "music" });
    showToEdit(nas->sharePointForName("films"));
    sheet->_GuestLogin.set(true);
    sheet->_SharePoint.set("music");
    sheet->addMountSaveAction();
    sheet->cancelMountSheet();
    add("nas", smb, "music");
    EXPECT_EQ(window.alerts().size(), 2U);
    EXPECT_FALSE(sheet->isEditedMountRemoved());
}

TEST_F(AddMountEditingTest, ASharePointThatVanishedUnderItsSheetIsAddedAnew) {
    const auto nas = addHost("nas", smb, { "films", "music" });
    showToEdit(nas->sharePointForName("films"));
    sheet->_GuestLogin.set(true);
    nas->sharePoints.remove(nas->sharePointForName("films"));
    sheet->addMountSaveAction();
    EXPECT_THAT(sharesOf(nas), ElementsAre(under("music", smb), under("films", smb)));
    EXPECT_EQ(saves.size(), 1U);
}

TEST_F(AddMountEditingTest, TwoHostsOfOneNameKeepTheirOwnShares) {
    const auto first = addHost("nas", smb, { "films" });
    const auto second = addHost("nas", smb, { "music" });
    showToEdit(second->sharePointForName("music"));
    sheet->_GuestLogin.set(true);
    sheet->addMountSaveAction();
    ASSERT_THAT(hostNames(), ElementsAre("nas"));
    EXPECT_EQ(host(0), first);
    EXPECT_THAT(sharesOf(first), ElementsAre(under("films", smb), under("music", smb)));
}

TEST_F(AddMountEditingTest, AnEditedShareWithoutAServiceGetsTheOneThatIsChosen) {
    const auto nas = addHost("nas", smb, { "films" });
    const auto orphan = addSharePoint(nas, nfs, "music");
    ASSERT_FALSE(orphan->parentService.get().lock());
    showToEdit(orphan);
    sheet->_GuestLogin.set(true);
    sheet->_DisplayType.set(smb);
    sheet->addMountSaveAction();
    EXPECT_THAT(sharesOf(nas), ElementsAre(under("films", smb), under("music", smb)));
}

} // namespace quorrel
