// SPDX-License-Identifier: GPL-3.0-or-later
#include "Foundation/NotificationCenter.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

namespace quorrel {

namespace {

using Seen = std::vector<std::string>;

NotificationCenter::Handler noting(Seen& seen, const std::string& who) {
    return [&seen, who](const Notification& notification) { seen.push_back(who + " " + notification.name); };
}

} // namespace

TEST(NotificationCenterTest, tellsThoseWhoAskedForTheName) {
    NotificationCenter center;
    Seen seen;
    const auto first = center.addObserver("900", noting(seen, "first"));
    const auto second = center.addObserver("ServiceAdded/Removed", noting(seen, "second"));
    const auto third = center.addObserver("900", noting(seen, "third"));
    center.post("900");
    center.post("other");
    EXPECT_EQ(seen, (Seen { "first 900", "third 900" }));
}

TEST(NotificationCenterTest, anObserverOfOneObjectHearsOnlyThatObject) {
    NotificationCenter center;
    const int one = 0;
    const int two = 0;
    Seen seen;
    const auto all = center.addObserver("n", noting(seen, "all"));
    const auto ones = center.addObserver("n", noting(seen, "one's"), &one);
    center.post("n", &one);
    center.post("n", &two);
    center.post("n");
    EXPECT_EQ(seen, (Seen { "all n", "one's n", "all n", "all n" }));
}

TEST(NotificationCenterTest, handsOverTheObjectAndTheUserInfo) {
    NotificationCenter center;
    const int object = 0;
    Dictionary info;
    info.set("name", "files");
    Notification got;
    const auto subscription = center.addObserver("n", [&](const Notification& notification) { got = notification; });
    center.post("n", &object, info);
    EXPECT_EQ(got.object, &object);
    ASSERT_TRUE(got.userInfo);
    EXPECT_EQ(*got.userInfo, info);
    center.post("n");
    EXPECT_FALSE(got.userInfo);
    EXPECT_EQ(got.object, nullptr);
}

TEST(NotificationCenterTest, deliversBeforePostReturnsOnThePostingThread) {
    NotificationCenter center;
    std::thread::id heard;
    const auto subscription = center.addObserver("n", [&](const Notification&) { heard = std::this_thread::get_id(); });
    std::thread([&] {
        center.post("n");
        EXPECT_EQ(heard, std::this_thread::get_id());
    }).join();
}

TEST(NotificationCenterTest, aHandlerMayPostAndUnregister) {
    NotificationCenter center;
    Seen seen;
    Subscription once;
    const auto second = center.addObserver("second", noting(seen, "second"));
    once = center.addObserver("first", [&](const Notification&) {
        once.cancel();
        center.post("second");
        center.post("first");
    });
    center.post("first");
    EXPECT_EQ(seen, (Seen { "second second" }));
}

} // namespace quorrel
