// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/CatalogueLock.h"

#include <utility>

namespace quorrel {

/// A lock that tests answer for.
class FakeCatalogueLock final : public CatalogueLock {
public:
    [[nodiscard]] Outcome take() override {
        ++m_takes;
        return m_outcome;
    }

    void setOutcome(Outcome outcome) { m_outcome = std::move(outcome); }
    [[nodiscard]] int takes() const { return m_takes; }

private:
    Outcome m_outcome;
    int m_takes = 0;
};

} // namespace quorrel
