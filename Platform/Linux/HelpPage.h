// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

namespace quorrel {

/// The URL of the help in the first of the languages that it is there in, or else in English. The folder's path is
/// absolute; the languages are names of locales with colons between them, as in StandardPaths.
[[nodiscard]] std::string helpPage(const std::string& folder, const std::string& languages);

} // namespace quorrel
