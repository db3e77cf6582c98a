// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/LoginItems.h"

#include <string>
#include <vector>

namespace quorrel {

/// Login items in memory, with scripted failure. Main thread. It must outlive the lists that it opens.
class FakeLoginItems final : public LoginItems {
public:
    /// Puts an item there, as another program does; one whose file is missing does not resolve.
    void put(const std::string& path, bool isFileThere = true);
    /// The paths of all items, in their order.
    [[nodiscard]] std::vector<std::string> paths() const;

    void failOpening(bool fails) { m_openingFails = fails; }
    void failChanges(bool fails) { m_changesFail = fails; }

    [[nodiscard]] std::unique_ptr<LoginItemsList> open() override;

private:
    class List;
    struct Item final {
        LoginItemEntry entry;
        std::string path;
        bool isFileThere = true;
    };
    [[nodiscard]] const Item* find(const LoginItemEntry& entry) const;

    std::vector<Item> m_items;
    int m_lastNumber = 0;
    bool m_openingFails = false;
    bool m_changesFail = false;
};

} // namespace quorrel
