// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

namespace quorrel {

/// How the descriptions of volumes spell names and places. Any thread.
namespace VolumeNames {

[[nodiscard]] std::string fileURL(const std::string& path);

/// What reads a volume's name back from its place takes off a number behind a dash; a name that ends like that gets one
/// more.
[[nodiscard]] std::string withSpareNumber(const std::string& name);

/// The folder that volumes of others are said to be in, wherever they really are: their real places may name a user,
/// and need not name the share.
[[nodiscard]] std::string folderOfServer(const std::string& server);

/// UTF-8 whatever the bytes were.
[[nodiscard]] std::string readable(const std::string& bytes);

} // namespace VolumeNames

} // namespace quorrel
