// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/StringTable.h"

#include <map>
#include <string>
#include <string_view>
#include <utility>

namespace quorrel {

/// A language that tests make up; a key without a text stands for itself. Any thread.
class FakeStringTable final : public StringTable {
public:
    using Texts = std::map<std::string, std::string, std::less<>>;

    explicit FakeStringTable(Texts texts = {})
        : m_texts(std::move(texts)) { }

    [[nodiscard]] std::string text(std::string_view key) const override {
        const auto found = m_texts.find(key);
        return found == m_texts.end() ? std::string(key) : found->second;
    }

private:
    const Texts m_texts;
};

} // namespace quorrel
