// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/VolumeErrors.h"

#include "Platform/VolumeService.h"

#include <algorithm>
#include <array>

namespace quorrel {

namespace {

struct ErrorText final {
    std::int32_t status;
    std::string_view text;
};

constexpr std::array errorTexts {
    ErrorText { VolumeStatus::notFound, localizable("File or directory not found; incomplete pathname.") },
    ErrorText { VolumeStatus::authenticationMethodUnknown, localizable("User authentication method is unknown.") },
    ErrorText { VolumeStatus::serverVersionUnknown,
        localizable("Workstation is using an AFP version that the server doesn’t recognize.") },
    ErrorText { VolumeStatus::permissionDenied, localizable("Requested user permission not possible.") },
    ErrorText { VolumeStatus::notResponding, localizable("Server is not responding.") },
    ErrorText { VolumeStatus::badLogin, localizable("User authentication failed (usually, password is not correct).") },
    ErrorText { VolumeStatus::shuttingDown, localizable("Server is shutting down.") },
};

} // namespace

std::optional<std::string_view> mountErrorText(std::int32_t status) {
    const auto* const found = std::find_if(
        errorTexts.begin(), errorTexts.end(), [&](const ErrorText& each) { return each.status == status; });
    return found == errorTexts.end() ? std::nullopt : std::optional(found->text);
}

std::optional<std::string_view> unmountErrorText(std::int32_t status) {
    if (status == VolumeStatus::filesOpen)
        return localizable("One or more files are open, can not unmount");
    return mountErrorText(status);
}

} // namespace quorrel
