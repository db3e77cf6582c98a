// SPDX-License-Identifier: GPL-3.0-or-later
#include "Foundation/PrintedList.h"
#include "Foundation/TextList.h"
#include "Tests/Fakes/ThreadTime.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace quorrel {

namespace {

PrintedList listOf(const std::vector<std::string>& items) {
    PrintedList list;
    for (const auto& item : items)
        list.append(item);
    return list;
}

struct Owner : Observable {
    TextList names { *this, "names" };
};

} // namespace

TEST(PrintedListTest, anEmptyListIsTwoParentheses) {
    EXPECT_EQ(PrintedList().printed(), "(\n)");
}

TEST(PrintedListTest, eachItemStandsOnItsOwnLineWithCommasBetween) {
    EXPECT_EQ(listOf({ "alpha" }).printed(), "(\n    alpha\n)");
    EXPECT_EQ(listOf({ "alpha", "Beta_2", "0" }).printed(), "(\n    alpha,\n    Beta_2,\n    0\n)");
}

TEST(PrintedListTest, onlyLettersDigitsAndUnderscoresStandBare) {
    EXPECT_EQ(listOf({ "a.local", "two words", "a-b", "", "Büro", "x\ny" }).printed(),
        "(\n    \"a.local\",\n    \"two words\",\n    \"a-b\",\n    \"\",\n    \"Büro\",\n    \"x\ny\"\n)");
}

TEST(PrintedListTest, quotesAndBackslashesAreEscaped) {
    EXPECT_EQ(listOf({ "a\"b", "c\\d", "\\\"" }).printed(), "(\n    \"a\\\"b\",\n    \"c\\\\d\",\n    \"\\\\\\\"\"\n)");
}

TEST(PrintedListTest, removingTheFirstEqualItemPrintsTheRestAsIfItHadNeverBeen) {
    auto list = listOf({ "a", "b.c", "a", "d" });
    EXPECT_TRUE(list.removeFirst("a"));
    EXPECT_EQ(list.items(), (std::vector<std::string> { "b.c", "a", "d" }));
    EXPECT_EQ(list.printed(), listOf({ "b.c", "a", "d" }).printed());
    EXPECT_FALSE(list.removeFirst("x"));
    EXPECT_TRUE(list.removeFirst("a") && list.removeFirst("d") && list.removeFirst("b.c"));
    EXPECT_EQ(list.printed(), "(\n)");
}

TEST(PrintedListTest, whateverIsRemovedInWhateverOrderTheRestIsPrintedAsIfItHadNeverBeen) {
    std::vector<std::string> texts { "a", "", "b.c", "x\ny", "a\"b", "\\", ",\n    a", "(\n)", "a,b", "d",
        "B\xC3\xBCro", "a" };
    for (std::size_t step = 1; step < texts.size(); step += 2) {
        auto list = listOf(texts);
        auto left = texts;
        for (std::size_t place = 0; !left.empty(); place += step) {
            const auto text = left[place % left.size()];
            left.erase(std::find(left.begin(), left.end(), text));
            EXPECT_TRUE(list.removeFirst(text));
            EXPECT_EQ(list.items(), left);
            EXPECT_EQ(list.printed(), listOf(left).printed());
        }
        list.append("next");
        EXPECT_EQ(list.printed(), "(\n    next\n)");
    }
}

TEST(PrintedListTest, aTextIsFoundAnywhereInThePrintedForm) {
    const auto list = listOf({ "server", "files.local" });
    EXPECT_TRUE(list.printedFormContains("server"));
    EXPECT_TRUE(list.printedFormContains("erv")); // part of a name counts
    EXPECT_TRUE(list.printedFormContains("files.local\"\n)"));
    EXPECT_TRUE(list.printedFormContains(",\n    "));
    EXPECT_TRUE(list.printedFormContains(""));
    EXPECT_FALSE(list.printedFormContains("Server"));
    EXPECT_FALSE(listOf({ "a\"b" }).printedFormContains("a\"b")); // it stands there escaped
}

TEST(PrintedListTest, tenThousandNamesCostNoQuadraticPrinting) {
    const auto timed = [](int count) {
        auto best = Seconds::max();
        for (int round = 0; round < 5; ++round) {
            const auto start = threadTime();
            PrintedList list;
            for (int number = 0; number < count; ++number)
                list.append("host-" + std::to_string(number) + ".local");
            best = std::min(best, threadTime() - start);
            EXPECT_EQ(list.items().size(), static_cast<std::size_t>(count));
        }
        return best.count();
    };
    const double few = timed(1'000);
    const double many = timed(10'000);
    EXPECT_LT(many, few * 40); // quadratic time would be a hundredfold
}

TEST(TextListTest, announcesWhatItAppendsAndRemoves) {
    Owner owner;
    std::vector<std::string> seen;
    const auto subscription = owner.observe("names", [&](std::string_view, Change change) {
        seen.push_back((change == Change::Will ? "will " : "did ") + std::to_string(owner.names.count()));
    });
    owner.names.append("a");
    EXPECT_TRUE(owner.names.removeFirst("a"));
    EXPECT_EQ(seen, (std::vector<std::string> { "will 0", "did 1", "will 1", "did 0" }));
}

TEST(TextListTest, whatChangesNothingAnnouncesNothing) {
    Owner owner;
    owner.names.append("server");
    int calls = 0;
    const auto subscription = owner.observeAll([&](std::string_view, Change) { ++calls; });
    EXPECT_FALSE(owner.names.removeFirst("other"));
    EXPECT_FALSE(owner.names.appendUnlessPrinted("server"));
    EXPECT_FALSE(owner.names.appendUnlessPrinted("erve"));
    EXPECT_EQ(calls, 0);
}

TEST(TextListTest, appendsWhatIsNotPrintedYet) {
    Owner owner;
    EXPECT_TRUE(owner.names.appendUnlessPrinted("server-2"));
    EXPECT_FALSE(owner.names.appendUnlessPrinted("server"));
    EXPECT_TRUE(owner.names.appendUnlessPrinted("server-21"));
    EXPECT_EQ(owner.names.snapshot(), (std::vector<std::string> { "server-2", "server-21" }));
    EXPECT_TRUE(owner.names.contains("server-2"));
    EXPECT_FALSE(owner.names.contains("server"));
    EXPECT_TRUE(owner.names.printedFormContains("server"));
}

TEST(TextListTest, whatIsLookedForNeedNotBeWhatIsAppended) {
    Owner owner;
    owner.names.append("my server");
    owner.names.appendEachUnlessPrinted(
        { { "my-server", "my server" }, { "my-printer", "my printer" }, { "my-printer", "my printer" } });
    EXPECT_EQ(owner.names.snapshot(), (std::vector<std::string> { "my server", "my-printer", "my-printer" }));
}

TEST(TextListTest, manyTextsAreLookedForAsIfEachWereByItself) {
    // Whatever the printed form has of its own, parts of one another, and what has to be escaped.
    const std::vector<std::string> texts { "(", ")", "\"", ",", "    ", "", " ", "server", "serve", "servers", "a.b",
        "a.b", "\"a.b\"", "a\\b", "a\\\\b", "\\\\", "b\",", "r,", "),", "x)", "\xC3\xA4", "\xC3", "verse", "s" };
    for (std::size_t start = 0; start <= texts.size(); ++start) {
        Owner one;
        Owner each;
        std::vector<TextList::Candidate> candidates;
        for (std::size_t index = 0; index < texts.size(); ++index) {
            const auto& text = texts[(start + index * 7) % texts.size()];
            if (index < 3) {
                one.names.append(text);
                each.names.append(text);
            } else {
                one.names.appendUnlessPrinted(text);
                candidates.push_back({ text, text });
            }
        }
        each.names.appendEachUnlessPrinted(candidates);
        EXPECT_EQ(each.names.snapshot(), one.names.snapshot()) << "from " << start;
    }
}

TEST(TextListTest, whatObserversAddAndRemoveMeanwhileCounts) {
    Owner owner;
    owner.names.append("gone");
    std::vector<std::string> seen;
    const auto subscription = owner.observe("names", [&](std::string_view, Change change) {
        seen.push_back((change == Change::Will ? "will " : "did ") + std::to_string(owner.names.count()));
        if (seen.size() == 1) {
            owner.names.removeFirst("gone");
            owner.names.append("first");
        }
    });
    owner.names.appendEachUnlessPrinted({ { "first", "first" }, { "gone", "gone" }, { "second", "second" } });
    EXPECT_EQ(owner.names.snapshot(), (std::vector<std::string> { "first", "gone", "second" }));
    EXPECT_EQ(seen,
        (std::vector<std::string> {
            "will 1", "will 1", "did 0", "will 0", "did 1", "did 1", "will 1", "did 2", "will 2", "did 3" }));
}

TEST(TextListTest, manyTextsAreAnnouncedOnceAndPrintedAsIfTheyHadComeOneByOne) {
    Owner owner;
    owner.names.append("a");
    std::vector<std::size_t> counts;
    const auto subscription
        = owner.observe("names", [&](std::string_view, Change) { counts.push_back(owner.names.count()); });
    owner.names.appendAll({ "b.c", "a" });
    owner.names.appendAll({});
    EXPECT_EQ(counts, (std::vector<std::size_t> { 1, 3 }));
    EXPECT_EQ(owner.names.snapshot(), (std::vector<std::string> { "a", "b.c", "a" }));
    EXPECT_TRUE(owner.names.printedFormContains("(\n    a,\n    \"b.c\",\n    a\n)"));
}

TEST(TextListTest, manyThreadsAddEachNameOnce) {
    Owner owner;
    std::vector<std::thread> threads;
    for (int number = 0; number < 4; ++number)
        threads.emplace_back([&owner, number] {
            std::vector<TextList::Candidate> candidates;
            for (int name = 100; name < 200; ++name) {
                const auto text = "host" + std::to_string(name);
                if (number % 2 == 0)
                    owner.names.appendUnlessPrinted(text);
                else
                    candidates.push_back({ text, text });
            }
            owner.names.appendEachUnlessPrinted(std::move(candidates));
        });
    for (auto& thread : threads)
        thread.join();
    auto names = owner.names.snapshot();
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names.size(), 100U);
    EXPECT_EQ(std::adjacent_find(names.begin(), names.end()), names.end());
}

} // namespace quorrel
