// SPDX-License-Identifier: GPL-3.0-or-later
#include "Desktop/SharePointListModel.h"

#include "Desktop/StatusMark.h"
#include "Tests/Desktop/CatalogueWindowFixture.h"

#include <gtest/gtest.h>

#include <QAbstractItemModelTester>
#include <QIcon>
#include <QSignalSpy>

#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace quorrel {
namespace {

class SharePointListModelTest : public CatalogueWindowFixture {
protected:
    SharePointListModelTest() {
        host = addHost("nas", { "docs", "music" });
        select(host);
        docs = sharePoints.arrangedObjects()[0];
        model.setController(&sharePoints);
    }

    [[nodiscard]] QVariant value(int role, int row = 0) const { return model.data(model.index(row), role); }
    [[nodiscard]] std::string text(int role, int row = 0) const { return value(role, row).toString().toStdString(); }
    [[nodiscard]] StatusMark mark() const { return static_cast<StatusMark>(value(RecordRole::mark).toInt()); }

    HostPointer host;
    SharePointPointer docs;
    SharePointListModel model { strings, images, queue };
    QAbstractItemModelTester tester { &model, QAbstractItemModelTester::FailureReportingMode::Fatal };
};

TEST_F(SharePointListModelTest, showsWhatAShareIsAndHowItIs) {
    EXPECT_EQ(text(Qt::DisplayRole), "docs");
    EXPECT_EQ(text(RecordRole::details), "anna · Server Message Block (smb)");
    EXPECT_EQ(text(RecordRole::status), "Offline");
    EXPECT_FALSE(value(RecordRole::isFavorite).toBool());
    EXPECT_FALSE(qvariant_cast<QIcon>(value(Qt::DecorationRole)).isNull());
    docs->favroite.set(true);
    docs->setMounted(true);
    EXPECT_TRUE(value(RecordRole::isFavorite).toBool());
    EXPECT_EQ(text(RecordRole::status), "Online");
    EXPECT_EQ(text(Qt::AccessibleTextRole), "docs, Online, anna · Server Message Block (smb), Favorite");
}

TEST_F(SharePointListModelTest, aGuestHasNoNameOfItsOwn) {
    docs->guestLogin.set(true);
    EXPECT_EQ(text(RecordRole::details), "Guest · Server Message Block (smb)");
    docs->guestLogin.set(std::nullopt);
    docs->userName.set(std::nullopt);
    EXPECT_EQ(text(RecordRole::details), "Server Message Block (smb)");
}

TEST_F(SharePointListModelTest, aShareWithoutANameBearsItsHosts) {
    docs->sharePoint.set("");
    EXPECT_EQ(text(Qt::DisplayRole), "nas");
    docs->parentHost.set({});
    EXPECT_EQ(text(Qt::DisplayRole), "");
}

TEST_F(SharePointListModelTest, theMarkSaysWhatAShareIsUpTo) {
    EXPECT_EQ(mark(), StatusMark::Offline);
    docs->setLastError("No such share");
    EXPECT_EQ(mark(), StatusMark::Failed);
    docs->setMounting(true); // another try
    EXPECT_EQ(mark(), StatusMark::Busy);
    docs->setMounting(false);
    docs->setLastError(std::nullopt);
    docs->setMounted(true);
    EXPECT_EQ(mark(), StatusMark::Online);
    docs->setUnmounting(true);
    EXPECT_EQ(mark(), StatusMark::Busy);
    docs->setUnmounting(false);
    docs->setResolving(true);
    EXPECT_EQ(mark(), StatusMark::Busy);
}

TEST_F(SharePointListModelTest, anErrorIsExplainedAsLongAsItHolds) {
    docs->setLastError("The server <nas>\nsaid no");
    EXPECT_EQ(text(RecordRole::explanation), "The server <nas> said no");
    EXPECT_EQ(
        text(Qt::ToolTipRole), "<qt>docs<br>anna · Server Message Block (smb)<br>The server &lt;nas&gt; said no</qt>");
    EXPECT_EQ(
        text(Qt::AccessibleTextRole), "docs, Offline, The server <nas> said no, anna · Server Message Block (smb)");
    docs->setLastError("");
    EXPECT_TRUE(docs->isError.get());
    EXPECT_EQ(text(RecordRole::explanation), "");
    docs->setLastError(std::nullopt);
    EXPECT_EQ(text(RecordRole::explanation), "");
}

TEST_F(SharePointListModelTest, aMountedShareSaysWhereItsFilesAre) {
    docs->volumePath.set("/home/anna/Volumes/docs");
    EXPECT_EQ(text(RecordRole::explanation), "") << "not any more";
    docs->setMounted(true);
    EXPECT_EQ(text(RecordRole::explanation), "/home/anna/Volumes/docs");
    docs->setLastError("Its script failed");
    EXPECT_EQ(text(RecordRole::explanation), "Its script failed");
}

TEST_F(SharePointListModelTest, whatIsTooLongToReadIsCut) {
    docs->sharePoint.set(std::string(100'000, 'x'));
    EXPECT_LT(text(Qt::DisplayRole).size(), 1'100U);
}

TEST_F(SharePointListModelTest, aPasswordIsShownNowhere) {
    docs->password.set("s3cret");
    for (int role = 0; role < Qt::UserRole + 16; ++role)
        EXPECT_EQ(text(role).find("s3cret"), std::string::npos) << role;
}

TEST_F(SharePointListModelTest, anotherHostsSharesAreNoLongerWatched) {
    const auto other = addHost("attic", { "films" });
    select(other);
    EXPECT_EQ(text(Qt::DisplayRole), "films");
    const QSignalSpy changes(&model, &QAbstractItemModel::dataChanged);
    docs->setMounted(true);
    queue.runPending();
    EXPECT_EQ(changes.count(), 0);
    other->sharePoints.snapshot()[0]->setMounted(true);
    queue.runPending();
    EXPECT_EQ(changes.count(), 1);
}

TEST_F(SharePointListModelTest, aChangeThatComesLateHarmsNobody) {
    docs->setMounted(true);
    const std::weak_ptr<SharePointDefinition> watched = docs;
    docs.reset();
    host->sharePoints.removeAll();
    showSelectedHost();
    EXPECT_TRUE(watched.expired());
    EXPECT_EQ(model.rowCount(), 0);
    const QSignalSpy changes(&model, &QAbstractItemModel::dataChanged);
    queue.runPending();
    EXPECT_EQ(changes.count(), 0);
}

TEST_F(SharePointListModelTest, everyChangeOfFourWorkersIsSeenInTheEnd) {
    std::vector<SharePointPointer> many;
    for (int number = 0; number < 40; ++number)
        many.push_back(addSharePoint(host, smb, std::to_string(number)));
    showSelectedHost();
    const QSignalSpy changes(&model, &QAbstractItemModel::dataChanged);
    std::vector<std::thread> workers;
    for (std::size_t worker = 0; worker < 4; ++worker)
        workers.emplace_back([&many, worker] {
            for (int round = 0; round < 100; ++round)
                for (auto index = worker; index < many.size(); index += 4) {
                    many[index]->setMounting(true);
                    many[index]->setMounted(true);
                    many[index]->setMounting(false);
                }
        });
    for (int round = 0; round < 50; ++round)
        queue.runPending();
    for (auto& worker : workers)
        worker.join();
    queue.runPending();
    EXPECT_GT(changes.count(), 0);
    for (const auto& each : many)
        EXPECT_EQ(text(RecordRole::status, model.indexOf(each).row()), "Online");
}

} // namespace
} // namespace quorrel
