// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Fakes/FakeLoginItems.h"

#include <algorithm>

namespace quorrel {

class FakeLoginItems::List final : public LoginItemsList {
public:
    explicit List(FakeLoginItems& items)
        : m_items(items) { }

    std::optional<LoginItemEntry> insertItemURL(const std::string& path) override {
        if (m_items.m_changesFail)
            return std::nullopt;
        m_items.put(path);
        return m_items.m_items.back().entry;
    }
    [[nodiscard]] std::vector<LoginItemEntry> snapshot() const override {
        std::vector<LoginItemEntry> entries;
        for (const auto& item : m_items.m_items)
            entries.push_back(item.entry);
        return entries;
    }
    [[nodiscard]] std::optional<std::string> resolve(const LoginItemEntry& entry) const override {
        const auto* item = m_items.find(entry);
        return item && item->isFileThere ? std::optional(item->path) : std::nullopt;
    }
    bool remove(const LoginItemEntry& entry) override {
        if (m_items.m_changesFail && m_items.find(entry))
            return false;
        std::erase_if(m_items.m_items, [&](const Item& item) { return item.entry == entry; });
        return true;
    }

private:
    FakeLoginItems& m_items;
};

void FakeLoginItems::put(const std::string& path, bool isFileThere) {
    m_items.push_back({ { std::to_string(++m_lastNumber) }, path, isFileThere });
}

std::vector<std::string> FakeLoginItems::paths() const {
    std::vector<std::string> paths;
    for (const auto& item : m_items)
        paths.push_back(item.path);
    return paths;
}

std::unique_ptr<LoginItemsList> FakeLoginItems::open() {
    return m_openingFails ? nullptr : std::make_unique<List>(*this);
}

const FakeLoginItems::Item* FakeLoginItems::find(const LoginItemEntry& entry) const {
    const auto found
        = std::find_if(m_items.begin(), m_items.end(), [&](const Item& item) { return item.entry == entry; });
    return found == m_items.end() ? nullptr : &*found;
}

} // namespace quorrel
