// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/LookupAhead.h"

#include "Sources/LookupOperation.h"
#include "Sources/NSLookUp.h"
#include "Sources/Rehearsal.h"
#include "Tests/Sources/LookupFixture.h"
#include "Tests/Sources/SlowTools.h"

#include <atomic>
#include <optional>
#include <stdexcept>
#include <vector>

namespace quorrel {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class LookupAheadTest : public LookupFixture {
protected:
    ~LookupAheadTest() override { tools.letAllGo(); }

    static NameLookup of(const std::string& name) { return { name, nslookup, nmblookup }; }

    [[nodiscard]] bool comesToKnow(Rehearsal& rehearsal, const std::vector<NameLookup>& lookups) {
        return SlowTools::turnUntil(queue, [&] { return rehearsal.covers(lookups); });
    }

    MainThreadQueue queue;
    SlowTools tools { childProcess };
    LookupAhead ahead { childProcess, queue };
};

TEST_F(LookupAheadTest, LooksUpNamesAtTheSameTimeAndLogsNothing) {
    for (const auto* name : { "a", "b", "c" })
        tools.hold(name);
    Rehearsal rehearsal(ahead);
    EXPECT_FALSE(rehearsal.covers({ of("a"), of("b"), of("c") }));
    for (const auto* name : { "a", "b", "c" })
        EXPECT_TRUE(tools.isAsked(name));
    tools.letAllGo();
    EXPECT_TRUE(comesToKnow(rehearsal, { of("a"), of("b"), of("c") }));
    EXPECT_THAT(sink.lines(), IsEmpty());
}

TEST_F(LookupAheadTest, TellsOfEndsInATurnOfTheMainThread) {
    std::vector<std::thread::id> threads;
    const auto ends = ahead.observeEnds([&] { threads.push_back(std::this_thread::get_id()); });
    const auto operation = ahead.begin(of("a"));
    EXPECT_TRUE(SlowTools::turnUntil(queue, [&] { return !threads.empty(); }));
    EXPECT_TRUE(operation->isOver());
    EXPECT_THAT(threads, ElementsAre(std::this_thread::get_id()));
}

TEST_F(LookupAheadTest, AsksTheSecondToolOnlyForWhatTheFirstDoesNotKnow) {
    Rehearsal rehearsal(ahead);
    ASSERT_TRUE(comesToKnow(rehearsal, { of("attic"), of("HOSTB") }));
    EXPECT_THAT(childProcess.calls(),
        testing::UnorderedElementsAre(
            Call { nslookup, { "attic" } }, Call { nslookup, { "HOSTB" } }, Call { nmblookup, { "-R ", "HOSTB" } }));
}

TEST_F(LookupAheadTest, TheSameLookUpIsUnderWayOnce) {
    tools.hold("attic");
    Rehearsal first(ahead);
    Rehearsal second(ahead);
    EXPECT_FALSE(first.covers({ of("attic") }));
    EXPECT_FALSE(second.covers({ of("attic") }));
    tools.letGo("attic");
    EXPECT_TRUE(comesToKnow(first, { of("attic") }));
    EXPECT_TRUE(second.covers({ of("attic") }));
    EXPECT_EQ(childProcess.calls().size(), 1U);
    const auto again = ahead.begin(of("attic"));
    EXPECT_TRUE(SlowTools::turnUntil(queue, [&] { return again->isOver(); }));
    EXPECT_EQ(childProcess.calls().size(), 2U) << "what is over is asked for anew";
}

TEST_F(LookupAheadTest, TheEndOfAnEarlierOneLeavesTheOneThatIsUnderWay) {
    Gate second;
    std::atomic<int> calls = 0;
    childProcess.setResponder(nslookup, [&](const FakeChildProcess::Call&) {
        EXPECT_TRUE(++calls == 1 || second.wait());
        return ChildProcessResult { true, {}, "Name:\tattic\nAddress: 10.0.0.7\n" };
    });
    bool isTold = false;
    const auto ends = ahead.observeEnds([&] { isTold = true; });
    const auto first = ahead.begin(of("attic"));
    MainThreadQueue nobodys;
    EXPECT_TRUE(SlowTools::turnUntil(nobodys, [&] { return first->isOver(); }));
    const auto again = ahead.begin(of("attic"));
    EXPECT_NE(again, first);
    EXPECT_TRUE(SlowTools::turnUntil(queue, [&] { return isTold; }));
    EXPECT_EQ(ahead.begin(of("attic")), again);
    second.open();
    EXPECT_TRUE(SlowTools::turnUntil(queue, [&] { return again->isOver(); }));
    EXPECT_EQ(calls, 2);
}

TEST_F(LookupAheadTest, APerformanceHearsWhatTheToolsSaidAndRunsNone) {
    Rehearsal rehearsal(ahead);
    ASSERT_TRUE(comesToKnow(rehearsal, { of("attic") }));
    {
        const LookupAhead::Performance performance(&ahead, &rehearsal);
        NSLookUp tool(ahead, log);
        EXPECT_TRUE(tool.lookup("attic"));
        EXPECT_EQ(tool.IP4(), "10.0.0.7");
        EXPECT_EQ(childProcess.calls().size(), 1U);
        EXPECT_THAT(sink.texts(),
            ElementsAre("Resolving attic with nsLookup", "\nName:\tattic\nAddress: 10.0.0.7\n",
                "nslookup resolved attic to: 10.0.0.7"));
        EXPECT_TRUE(NSLookUp(ahead, log).lookup("cellar")) << "which was not rehearsed";
    }
    EXPECT_TRUE(NSLookUp(ahead, log).lookup("attic"));
    EXPECT_EQ(childProcess.calls().size(), 3U);
}

TEST_F(LookupAheadTest, AToolThatCannotEvenBeAskedIsNotWaitedForForEver) {
    childProcess.setResponder(nslookup,
        [](const FakeChildProcess::Call&) -> ChildProcessResult { throw std::runtime_error("no memory for it"); });
    Rehearsal rehearsal(ahead);
    EXPECT_TRUE(comesToKnow(rehearsal, { of("attic") }));
    EXPECT_EQ(rehearsal.answer(nslookup, { "attic" }), std::nullopt);
}

TEST_F(LookupAheadTest, MayGoWhileNobodyWaitsForItsAnswers) {
    int told = 0;
    {
        LookupAhead other(childProcess, queue);
        const auto ends = other.observeEnds([&] { ++told; });
        static_cast<void>(other.begin(of("attic")));
    }
    queue.runPending();
    EXPECT_EQ(told, 0);
}

} // namespace
} // namespace quorrel
