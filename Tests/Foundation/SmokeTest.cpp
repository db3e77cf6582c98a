// SPDX-License-Identifier: GPL-3.0-or-later
#include "Foundation/Property.h"

#include <gtest/gtest.h>

namespace quorrel {

TEST(PropertyTest, NotifiesAroundTheStore) {
    struct Record : Observable {
        Property<int> count { *this, "count" };
    } record;
    std::vector<int> seen;
    const auto subscription = record.observe("count", [&](std::string_view, Change) { seen.push_back(record.count.get()); });
    record.count.set(1);
    EXPECT_EQ(seen, (std::vector { 0, 1 }));
}

} // namespace quorrel
