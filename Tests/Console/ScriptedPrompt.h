// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Console/PasswordPrompt.h"

#include <atomic>
#include <deque>
#include <string>
#include <utility>
#include <vector>

namespace quorrel {

/// A person who answers as scripted; without an answer left, there is no terminal. Main thread, save for `restore`.
class ScriptedPrompt final : public PasswordPrompt {
public:
    [[nodiscard]] Answer ask(const std::string& prompt) override {
        m_prompts.push_back(prompt);
        if (answers.empty())
            return { Outcome::NoTerminal, {} };
        auto answer = std::move(answers.front());
        answers.pop_front();
        return answer;
    }
    void restore() override { ++m_restores; }

    [[nodiscard]] const std::vector<std::string>& prompts() const { return m_prompts; }
    [[nodiscard]] int restores() const { return m_restores; }

    std::deque<Answer> answers;

private:
    std::vector<std::string> m_prompts;
    std::atomic<int> m_restores = 0;
};

} // namespace quorrel
