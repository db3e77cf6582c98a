// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/MainThreadQueue.h"
#include "Tests/Fakes/FakeChildProcess.h"
#include "Tests/Fakes/Gate.h"

#include <gtest/gtest.h>

#include <chrono>
#include <map>
#include <string>
#include <thread>

namespace quorrel {

/// Look-up tools that know every name but those that begin with "no", and that take as long as a test wants them to.
class SlowTools final {
public:
    explicit SlowTools(FakeChildProcess& process) {
        process.setResponder("/usr/bin/nslookup", [this](const FakeChildProcess::Call& call) {
            const auto& name = call.arguments.back();
            pass(name);
            return ChildProcessResult { true, {},
                name.starts_with("no") || name.starts_with("HOST") ? "** server can't find " + name + ": NXDOMAIN\n"
                                                                   : "Name:\t" + name + "\nAddress: 10.0.0.7\n" };
        });
        process.setResponder("/usr/bin/nmblookup", [this](const FakeChildProcess::Call& call) {
            const auto& name = call.arguments.back();
            pass(name);
            return ChildProcessResult { true, {},
                name.starts_with("no") ? "name_query failed to find name " + name + "\n"
                                       : "10.0.0.8 " + name + "<00>\n" };
        });
    }

    /// Nobody answers for that name until it is let go.
    void hold(const std::string& name) { m_held[name]; }
    void letGo(const std::string& name) { m_held.at(name).answer.open(); }
    void letAllGo() {
        for (auto& [name, held] : m_held)
            held.answer.open();
    }
    [[nodiscard]] bool isAsked(const std::string& name) { return m_held.at(name).question.wait(); }

    /// Runs what is posted to the main thread, until that holds; false after twenty seconds.
    template <typename Condition>
    [[nodiscard]] static bool turnUntil(MainThreadQueue& queue, const Condition& condition) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (!condition()) {
            if (std::chrono::steady_clock::now() > end)
                return false;
            queue.runPending();
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        return true;
    }

private:
    struct Held final {
        Gate question;
        Gate answer;
    };

    void pass(const std::string& name) {
        const auto found = m_held.find(name);
        if (found == m_held.end())
            return;
        found->second.question.open();
        EXPECT_TRUE(found->second.answer.wait()) << name;
    }

    std::map<std::string, Held> m_held; // not changed any more once tools run
};

} // namespace quorrel
