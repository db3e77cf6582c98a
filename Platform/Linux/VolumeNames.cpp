// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/VolumeNames.h"

#include "Platform/Linux/GlibPointers.h"
#include "Platform/Linux/ServerURL.h"

namespace quorrel {

namespace {

bool endsLikeNumbered(const std::string& name) {
    const auto dash = name.rfind('-');
    if (dash == std::string::npos)
        return false;
    const auto start = name.find_first_not_of(" +", dash + 1);
    return start != std::string::npos && name[start] >= '0' && name[start] <= '9';
}

} // namespace

std::string VolumeNames::fileURL(const std::string& path) {
    return "file://" + percentEncoded(path, "/");
}

std::string VolumeNames::withSpareNumber(const std::string& name) {
    return endsLikeNumbered(name) ? name + "-1" : name;
}

std::string VolumeNames::folderOfServer(const std::string& server) {
    return "/net/" + server;
}

std::string VolumeNames::readable(const std::string& bytes) {
    const GlibPointer<gchar> text(g_utf8_make_valid(bytes.data(), static_cast<gssize>(bytes.size())));
    return text.get();
}

} // namespace quorrel
