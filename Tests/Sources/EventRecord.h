// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <functional>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace quorrel {

/// What several fakes were asked for, in one order. Main thread only.
class EventRecord final {
public:
    void add(const std::string& event) {
        m_events.push_back(event);
        if (m_witness)
            m_witness(event);
    }

    /// What a fake takes for its witness; this must outlive the fake.
    [[nodiscard]] std::function<void(const std::string&)> adder() {
        return [this](const std::string& event) { add(event); };
    }

    /// The events since the last call.
    std::vector<std::string> take() { return std::exchange(m_events, {}); }

    /// Those of the events so far that begin with the text.
    [[nodiscard]] std::vector<std::string> beginningWith(std::string_view text) const {
        std::vector<std::string> result;
        std::copy_if(m_events.begin(), m_events.end(), std::back_inserter(result),
            [&](const std::string& event) { return event.starts_with(text); });
        return result;
    }

    /// Called with every event, for tests that look at the world at that moment.
    void setWitness(std::function<void(const std::string& event)> witness) { m_witness = std::move(witness); }

private:
    std::vector<std::string> m_events;
    std::function<void(const std::string&)> m_witness;
};

} // namespace quorrel
