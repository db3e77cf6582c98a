// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/ResourcePaths.h"

#include <filesystem>
#include <system_error>

namespace quorrel {

namespace {

std::string dataFolderFor(const std::string& executable) {
    std::error_code error;
    const auto program = std::filesystem::canonical(executable, error);
    if (!error) {
        const auto folder = program.parent_path();
        for (const auto& data : { folder / "share", folder.parent_path() / "share" })
            if (std::filesystem::is_directory(data / "quorrel", error))
                return data;
    }
    return QUORREL_DATA_FOLDER;
}

} // namespace

ResourcePaths ResourcePaths::find(const std::string& executable) {
    const auto data = dataFolderFor(executable);
    return { data + "/locale", data + "/quorrel/icons", data + "/quorrel/help" };
}

} // namespace quorrel
