// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Tests/Fakes/FakeStringTable.h"

#include <string>
#include <vector>

namespace quorrel::Translation {

/// English and every language of LINGUAS.
[[nodiscard]] std::vector<std::string> languages();

/// The texts of one language by their keys, as its translators wrote them; none for English.
[[nodiscard]] FakeStringTable::Texts texts(const std::string& language);

} // namespace quorrel::Translation
