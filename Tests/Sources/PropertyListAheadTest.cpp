// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/PropertyListAhead.h"

#include "Tests/Fakes/FakePropertyListFile.h"
#include "Tests/Fakes/NoMoreThreads.h"

#include <gtest/gtest.h>

#include <future>
#include <string>
#include <thread>

namespace quorrel {

class PropertyListAheadTest : public testing::Test {
protected:
    /// Reads ahead what is there now.
    void readAhead() {
        std::promise<std::thread::id> ready;
        ahead.begin(path, [&] { ready.set_value(std::this_thread::get_id()); });
        reader = ready.get_future().get();
    }

    [[nodiscard]] std::string text() {
        const auto file = ahead.read(path);
        const auto* found = file.root ? std::get_if<std::string>(&file.root->variant()) : nullptr;
        return found ? *found : "nothing";
    }

    const std::string path = "/catalogue";
    FakePropertyListFile files;
    PropertyListAhead ahead { files };
    std::thread::id reader;
};

TEST_F(PropertyListAheadTest, readsOnAThreadOfItsOwn) {
    files.put(path, PropertyValue("first"));
    readAhead();
    EXPECT_NE(reader, std::this_thread::get_id());
    EXPECT_EQ(text(), "first");
}

TEST_F(PropertyListAheadTest, handsOutOnceWhatWasRead) {
    files.put(path, PropertyValue("first"));
    readAhead();
    files.put(path, PropertyValue("second"));
    EXPECT_EQ(text(), "first");
    EXPECT_EQ(text(), "second");
}

TEST_F(PropertyListAheadTest, passesOtherFilesThrough) {
    files.put(path, PropertyValue("first"));
    readAhead();
    files.put("/other", PropertyValue("other"));
    EXPECT_EQ(ahead.read("/other").root, PropertyValue("other"));
    EXPECT_EQ(text(), "first");
}

TEST_F(PropertyListAheadTest, forgetsWhatASaveReplaces) {
    files.put(path, PropertyValue("first"));
    readAhead();
    EXPECT_FALSE(ahead.write(path, PropertyValue("saved")));
    EXPECT_EQ(text(), "saved");
}

TEST_F(PropertyListAheadTest, handsOutFailuresToo) {
    files.putMalformed(path, "torn");
    readAhead();
    EXPECT_EQ(ahead.read(path).outcome, PropertyListReadResult::Outcome::Malformed);
}

TEST_F(PropertyListAheadTest, waitsForWhatIsBeingRead) {
    files.put(path, PropertyValue("first"));
    ahead.begin(path, [] {});
    EXPECT_EQ(text(), "first");
    ahead.begin(path, [] {}); // its end is waited for by the destructor
}

TEST_F(PropertyListAheadTest, withoutAThreadItReadsWhenItIsAsked) {
    files.put(path, PropertyValue("first"));
    {
        const NoMoreThreads noMoreThreads;
        readAhead();
    }
    EXPECT_EQ(reader, std::this_thread::get_id());
    files.put(path, PropertyValue("second"));
    EXPECT_EQ(text(), "second");
}

} // namespace quorrel
