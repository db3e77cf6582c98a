// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/StatusBarItem.h"
#include "Tests/Fakes/FakeStatusBar.h"
#include "Tests/Fakes/FakeTimers.h"

#include <gmock/gmock.h>

#include <memory>

namespace quorrel {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class StatusBarItemTest : public testing::Test {
protected:
    FakeStatusBar bar;
    FakeTimers timers;
    std::unique_ptr<StatusBarItem> item = std::make_unique<StatusBarItem>(bar, timers);
};

TEST_F(StatusBarItemTest, AppearsWithBothImagesAsSoonAsItExists) {
    EXPECT_THAT(bar.events(),
        ElementsAre("status item 28", "image menubarIcon.png", "alternate image menubarIcon-neg.png", "highlight on"));
    EXPECT_EQ(bar.menu(), nullptr);
    EXPECT_THAT(timers.intervals(), IsEmpty());
}

TEST_F(StatusBarItemTest, ShowsTheLastMenuAndReleasesTheOneBefore) {
    auto first = std::make_shared<Menu>("First");
    const std::weak_ptr<Menu> released = first;
    const auto second = std::make_shared<Menu>("Second");
    bar.clearEvents();
    item->setMenu(std::move(first));
    EXPECT_EQ(bar.menu(), released.lock());
    item->setMenu(second);
    EXPECT_THAT(bar.events(), ElementsAre("menu First", "menu Second"));
    EXPECT_EQ(bar.menu(), second);
    EXPECT_TRUE(released.expired());
}

TEST_F(StatusBarItemTest, KeepsItsMenu) {
    auto menu = std::make_shared<Menu>("Menu");
    const std::weak_ptr<Menu> kept = menu;
    item->setMenu(std::move(menu));
    EXPECT_FALSE(kept.expired());
    item.reset();
    EXPECT_TRUE(kept.expired());
}

TEST_F(StatusBarItemTest, BlinksOnceASecondWithTheSameImageInBothPhases) {
    bar.clearEvents();
    item->startAnimation();
    EXPECT_THAT(bar.events(), ElementsAre("image menubarIcon.png"));
    EXPECT_THAT(timers.intervals(), ElementsAre(Seconds(1.0)));
    for (int second = 0; second < 3; ++second) {
        bar.clearEvents();
        timers.fire();
        EXPECT_THAT(bar.events(), ElementsAre("image menubarIcon.png"));
    }
}

TEST_F(StatusBarItemTest, ASecondStartEndsTheFirstTimerBeforeItMakesItsOwn) {
    item->startAnimation();
    item->startAnimation();
    EXPECT_EQ(timers.intervals().size(), 2U);
    EXPECT_EQ(timers.validTimers(), 1U);
    EXPECT_EQ(timers.mostValidTimers(), 1U);
}

TEST_F(StatusBarItemTest, KeepsATimerThatItStoppedUntilTheNextStart) {
    item->startAnimation();
    item->stopAnimation();
    EXPECT_EQ(timers.timers(), 1U);
    item->startAnimation();
    EXPECT_EQ(timers.timers(), 1U);
    item.reset();
    EXPECT_EQ(timers.timers(), 0U);
}

TEST_F(StatusBarItemTest, StopsBlinkingAndCanStartAgain) {
    item->startAnimation();
    bar.clearEvents();
    item->stopAnimation();
    EXPECT_EQ(timers.validTimers(), 0U);
    EXPECT_THAT(bar.events(), ElementsAre("image menubarIcon.png"));
    timers.fire();
    EXPECT_THAT(bar.events(), ElementsAre("image menubarIcon.png"));
    item->startAnimation();
    EXPECT_EQ(timers.validTimers(), 1U);
}

TEST_F(StatusBarItemTest, StoppingWhatNeverStartedShowsTheImage) {
    bar.clearEvents();
    item->stopAnimation();
    EXPECT_THAT(bar.events(), ElementsAre("image menubarIcon.png"));
}

TEST_F(StatusBarItemTest, LeavesTheStatusBarBeforeItEndsItsTimer) {
    item->startAnimation();
    bar.clearEvents();
    std::size_t timersAtTheEnd = 0;
    bar.setWitness([&](const std::string&) { timersAtTheEnd = timers.validTimers(); });
    item.reset();
    EXPECT_THAT(bar.events(), ElementsAre("end of status item"));
    EXPECT_EQ(timersAtTheEnd, 1U);
    EXPECT_EQ(timers.validTimers(), 0U);
}

} // namespace quorrel
