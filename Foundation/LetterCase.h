// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <string_view>

namespace quorrel::Text {

/// The text as it is compared without regard to letter case: Latin, Greek and Cyrillic capitals in lower case, whatever
/// the process's locale. As many bytes as before.
[[nodiscard]] std::string foldedCase(std::string_view text);

} // namespace quorrel::Text
