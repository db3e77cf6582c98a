// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

/// Whole files that only their owner may read. Any thread, one call at a time for one path. Each call returns why it
/// failed, if it did.
namespace quorrel::OwnerOnlyFile {

struct Content final {
    enum class Outcome { Read, Missing, Unreadable };
    Outcome outcome = Outcome::Missing;
    std::string bytes;
    std::string reason;
};

/// Reads a regular file of at most so many bytes; anything else is unreadable.
[[nodiscard]] Content read(const std::string& path, std::size_t largest);

/// A look at the new file by its path; a reason that it returns keeps it from taking the old one's place.
using LastLook = std::function<std::optional<std::string>(const std::string& newFile)>;

/// Writes beside the old file, readable by the owner alone from the first byte on and whatever the umask, flushes to
/// disk, and puts the new file in place, behind a symbolic link if there is one. After a failure the old file is whole
/// and nothing is left beside it; what a program left that was killed in the middle goes with the next replacement.
[[nodiscard]] std::optional<std::string> replace(
    const std::string& path, std::string_view bytes, const LastLook& lastLook = nullptr);

/// Writes a new file, as `replace` does, under the first free name of STEM + ENDING, STEM-1 + ENDING and so on; what is
/// there stays. The file's path, or absent after a failure.
[[nodiscard]] std::optional<std::string> create(
    const std::string& stem, const std::string& ending, std::string_view bytes);

/// Keeps what is there under the first free name of PATH.damaged, PATH.damaged-2 and so on; nothing there is no
/// failure. A file has its own name as well until `replace` takes that, where the file system can do so, lest there be
/// none when the program ends in between; anything else is moved. A link to a file stays, and the file is kept where it
/// is.
[[nodiscard]] std::optional<std::string> keepDamaged(const std::string& path);

/// Creates the folder and what is missing above it, each for the owner alone. One that is there stays as it is.
[[nodiscard]] std::optional<std::string> createFolders(const std::string& path);

} // namespace quorrel::OwnerOnlyFile
