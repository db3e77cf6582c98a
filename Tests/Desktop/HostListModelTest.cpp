// SPDX-License-Identifier: GPL-3.0-or-later
#include "Desktop/HostListModel.h"

#include "Tests/Desktop/CatalogueWindowFixture.h"
#include "Tests/Fakes/HostileNames.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QAbstractItemModelTester>
#include <QIcon>
#include <QPersistentModelIndex>
#include <QSignalSpy>
#include <QTextDocument>

#include <algorithm>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace quorrel {
namespace {

using testing::ElementsAre;

class HostListModelTest : public CatalogueWindowFixture {
protected:
    [[nodiscard]] std::vector<std::string> shown() const {
        std::vector<std::string> names;
        for (int row = 0; row < model.rowCount(); ++row)
            names.push_back(text(row, Qt::DisplayRole));
        return names;
    }

    [[nodiscard]] std::string text(int row, int role) const {
        return model.data(model.index(row), role).toString().toStdString();
    }

    HostListModel model { images, queue };
    QAbstractItemModelTester tester { &model, QAbstractItemModelTester::FailureReportingMode::Fatal };
};

TEST_F(HostListModelTest, showsEachHostWithItsCountsInTheOrderOfTheList) {
    addHost("nas", { "docs", "music" });
    addHost("attic");
    model.setController(&hosts);
    EXPECT_THAT(shown(), ElementsAre("attic", "nas"));
    EXPECT_EQ(text(0, RecordRole::details), "0 share, 1 service");
    EXPECT_EQ(text(1, RecordRole::details), "2 shares, 1 service");
    EXPECT_EQ(text(1, Qt::AccessibleTextRole), "nas, 2 shares, 1 service");
    EXPECT_EQ(model.record(model.index(1)), hosts.arrangedObjects()[1]);
    model.setController(nullptr);
    EXPECT_EQ(model.rowCount(), 0);
}

TEST_F(HostListModelTest, showsTheHostsIconWhereThereIsOne) {
    const auto host = addHost("nas");
    model.setController(&hosts);
    host->icon.set(Image { "drive.png" });
    EXPECT_FALSE(qvariant_cast<QIcon>(model.data(model.index(0), Qt::DecorationRole)).isNull());
    host->icon.set(Image { "/nowhere/at-all.png" });
    EXPECT_FALSE(model.data(model.index(0), Qt::DecorationRole).isValid());
    host->icon.set(std::nullopt);
    EXPECT_FALSE(model.data(model.index(0), Qt::DecorationRole).isValid());
}

TEST_F(HostListModelTest, aNameIsOneLineOfPlainText) {
    addHost("a\nb\t\u202e<b>c</b>");
    model.setController(&hosts);
    EXPECT_EQ(text(0, Qt::DisplayRole), "a b  <b>c</b>");
    EXPECT_EQ(text(0, Qt::ToolTipRole), "<qt>a b  &lt;b&gt;c&lt;/b&gt;</qt>");
}

TEST_F(HostListModelTest, anyNameIsShownInOneRowAsItStands) {
    model.setController(&hosts);
    for (const auto& [evil, name] : hostileNames()) {
        const auto host = addHost(name);
        int row = 0;
        while (row < model.rowCount() && model.record(model.index(row)) != host)
            ++row;
        ASSERT_LT(row, model.rowCount()) << evil;
        for (const int role : { static_cast<int>(Qt::DisplayRole), static_cast<int>(Qt::AccessibleTextRole) }) {
            const auto shown = QString::fromStdString(text(row, role));
            EXPECT_LT(shown.size(), 1100) << evil;
            EXPECT_TRUE(std::all_of(shown.begin(), shown.end(), [](QChar each) {
                return each.category() != QChar::Other_Control && each.unicode() != 0x202e && each.unicode() != 0x2066;
            })) << evil;
        }
        // Rich text all the same, so that it wraps.
        QTextDocument tip;
        tip.setHtml(QString::fromStdString(text(row, Qt::ToolTipRole)));
        EXPECT_EQ(tip.toPlainText().simplified().toStdString(),
            QString::fromStdString(text(row, Qt::DisplayRole)).simplified().toStdString())
            << evil;
    }
}

TEST_F(HostListModelTest, changesOfAWorkerArriveOnceATurnAndResetNothing) {
    std::vector<HostPointer> all;
    for (const auto* name : { "a", "b", "c", "d" })
        all.push_back(addHost(name));
    model.setController(&hosts);
    const QSignalSpy changes(&model, &QAbstractItemModel::dataChanged);
    const QSignalSpy resets(&model, &QAbstractItemModel::modelReset);
    std::thread([&] {
        for (int round = 0; round < 50; ++round)
            for (const auto index : { 0U, 1U, 3U })
                all[index]->updateCounts();
    }).join();
    EXPECT_EQ(changes.count(), 0);
    queue.runPending();
    ASSERT_EQ(changes.count(), 2); // two neighbours, and one apart
    EXPECT_EQ(changes[0][0].toModelIndex().row(), 0);
    EXPECT_EQ(changes[0][1].toModelIndex().row(), 1);
    EXPECT_EQ(changes[1][0].toModelIndex().row(), 3);
    queue.runPending();
    EXPECT_EQ(changes.count(), 2);
    EXPECT_EQ(resets.count(), 0);
}

TEST_F(HostListModelTest, aHostThatComesOrGoesMovesNoOther) {
    addHost("b");
    const auto gone = addHost("c");
    addHost("d");
    model.setController(&hosts);
    const QPersistentModelIndex last = model.index(2);
    const QSignalSpy resets(&model, &QAbstractItemModel::modelReset);
    const QSignalSpy layouts(&model, &QAbstractItemModel::layoutChanged);
    addHost("a");
    EXPECT_THAT(shown(), ElementsAre("a", "b", "c", "d"));
    auto content = hosts.arrangedObjects();
    std::erase(content, gone);
    hosts.setContent(content);
    EXPECT_THAT(shown(), ElementsAre("a", "b", "d"));
    EXPECT_EQ(last.row(), 2);
    EXPECT_EQ(resets.count() + layouts.count(), 0);
    gone->updateCounts(); // is no longer watched
    const QSignalSpy changes(&model, &QAbstractItemModel::dataChanged);
    queue.runPending();
    EXPECT_EQ(changes.count(), 0);
}

TEST_F(HostListModelTest, everyRowIsFollowedThroughAnyNewArrangement) {
    std::mt19937 random(7);
    std::vector<HostPointer> all;
    for (int number = 0; number < 12; ++number)
        all.push_back(hostNamed(std::to_string(number)));
    hosts.setSortDescriptors({}); // as the content comes
    model.setController(&hosts);
    for (int round = 0; round < 400; ++round) {
        std::vector<std::pair<QPersistentModelIndex, HostPointer>> before;
        for (int row = 0; row < model.rowCount(); ++row)
            before.emplace_back(model.index(row), model.record(model.index(row)));
        std::shuffle(all.begin(), all.end(), random);
        const auto count = std::uniform_int_distribution<long>(0, 12)(random);
        const std::vector wanted(all.begin(), all.begin() + count);
        hosts.setContent(wanted);
        ASSERT_EQ(model.rowCount(), count);
        for (int row = 0; row < count; ++row) {
            ASSERT_EQ(model.record(model.index(row)), wanted[static_cast<std::size_t>(row)]);
            ASSERT_EQ(model.indexOf(wanted[static_cast<std::size_t>(row)]).row(), row);
        }
        for (const auto& [index, host] : before)
            ASSERT_TRUE(!index.isValid() || model.record(index) == host);
    }
}

TEST_F(HostListModelTest, aListInPiecesIsShownAnewAsAWhole) {
    std::vector<HostPointer> all;
    for (int number = 0; number < 300; ++number)
        all.push_back(hostNamed(std::to_string(number)));
    hosts.setSortDescriptors({});
    hosts.setContent(all);
    model.setController(&hosts);
    const QSignalSpy resets(&model, &QAbstractItemModel::modelReset);
    const QSignalSpy removals(&model, &QAbstractItemModel::rowsRemoved);
    std::vector<HostPointer> everyOther;
    for (std::size_t index = 0; index < all.size(); index += 2)
        everyOther.push_back(all[index]);
    hosts.setContent(everyOther);
    EXPECT_EQ(model.rowCount(), 150);
    EXPECT_EQ(resets.count(), 1);
    EXPECT_EQ(removals.count(), 0);
}

} // namespace
} // namespace quorrel
