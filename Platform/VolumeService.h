// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace quorrel {

/// The fixed vocabulary of mount and unmount results. Any other negative number stands for a cause that has no text of
/// its own, with the reason in the log.
namespace VolumeStatus {
constexpr std::int32_t success = 0;
constexpr std::int32_t ioError = -36;
constexpr std::int32_t notFound = -43;
constexpr std::int32_t filesOpen = -47;
constexpr std::int32_t cannotBeMounted = -50;
constexpr std::int32_t authenticationMethodUnknown = -5002;
constexpr std::int32_t serverVersionUnknown = -5003;
constexpr std::int32_t permissionDenied = -5006;
constexpr std::int32_t notResponding = -5016;
constexpr std::int32_t badLogin = -5023;
constexpr std::int32_t shuttingDown = -5027;
} // namespace VolumeStatus

struct MountRequest final {
    /// The server URL with percent escapes; schemes afp, smb, http, https and ftp. What stands behind the host is a
    /// path, whatever delimiters it holds. The guest form of AFP, ";AUTH=No User Authent", is understood.
    std::string url;
    std::optional<std::string> user;
    std::optional<std::string> password;
    /// The name the volume is to have in the user's folder of volumes, in the catalogue's spelling.
    std::string volumeName;
};

struct MountReply final {
    std::int32_t status = VolumeStatus::success;
    std::int16_t volumeReference = 0; ///< 0 after a failure
    std::string location {}; ///< the readable path under which its files are, "~/Volumes/NAME"; empty when unknown
};

/// A mounted volume that is this user's through this program, now or in an earlier run.
struct MountedVolume final {
    std::int16_t volumeReference = 0;
    std::string scheme; ///< as in a mount request: afp, smb, http, https, ftp
    std::string host;
    int port = 0; ///< 0: the scheme's own
    std::string user; ///< empty for a guest
    std::string path; ///< the share, without the slash in front, percent escapes undone
    std::string volumeName; ///< in the catalogue's spelling
    std::string location; ///< the readable path under which its files are, "~/Volumes/NAME"
};

/// Mounts and unmounts server volumes. Any thread; calls block their caller, end by the service's own deadline, and
/// never prompt. Passwords are held for the duration of the call.
class VolumeService {
public:
    virtual ~VolumeService() = default;

    /// A location that is mounted already gives status 0 and the reference that stands for it.
    [[nodiscard]] virtual MountReply mountServerVolume(const MountRequest& request) = 0;

    /// Never forces. A reference that stands for no volume gives a status outside the vocabulary.
    [[nodiscard]] virtual std::int32_t unmountVolume(std::int16_t volumeReference) = 0;

    /// What is mounted and has its place in the user's folder of volumes, by whichever run of this program. Bounded.
    [[nodiscard]] virtual std::vector<MountedVolume> mountedVolumes() = 0;

    /// Makes every call under way end within half a second, and later ones at once, as if past their deadline: for a
    /// program that is about to quit. Returns at once.
    virtual void interrupt() = 0;
};

} // namespace quorrel
