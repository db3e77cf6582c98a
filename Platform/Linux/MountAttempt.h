// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Log.h"
#include "Platform/Linux/BoundedLoop.h"
#include "Platform/Linux/GvfsLocation.h"
#include "Platform/Linux/MountFailure.h"
#include "Platform/Linux/PortProbe.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace quorrel {

/// Asks gvfs once to mount a location and answers its questions. Lives within one bounded loop, on its thread.
///
/// The server's name and port are looked at beside the mount as soon as that takes longer than a good server needs, or
/// when it failed with an error that does not say why: a mount that goes well costs nothing extra.
class MountAttempt final {
public:
    /// The certificates that the user trusts, as SHA-256 fingerprints.
    MountAttempt(
        BoundedLoop& loop, Log& log, const GvfsLocation& location, std::vector<std::string> trustedCertificates);
    ~MountAttempt();
    MountAttempt(const MountAttempt&) = delete;
    MountAttempt& operator=(const MountAttempt&) = delete;

    /// Absent after a success. Runs once, up to that limit and to the loop's deadline. Until gvfs answers, `meanwhile`
    /// is called after everything that wakes the loop.
    [[nodiscard]] std::optional<MountFailure> run(Seconds limit, const std::function<void()>& meanwhile);

    /// The server's addresses as far as they became known.
    [[nodiscard]] const std::vector<std::string>& addresses() const { return m_probe.addresses(); }

private:
    static void askPassword(GMountOperation* operation, const char* message, const char* defaultUser,
        const char* defaultDomain, GAskPasswordFlags flags, MountAttempt* self);
    static void askQuestion(
        GMountOperation* operation, const char* message, const char* const* choices, MountAttempt* self);
    static void showProcesses(GMountOperation* operation, const char* message, GArray* processes,
        const char* const* choices, MountAttempt* self);

    void answerQuestion();
    [[nodiscard]] bool mayTrust(const std::string& question);
    /// Runs callbacks until gvfs answers; sets the end of the failure if it does not.
    void waitForAnswer(const BoundedLoop::Pending& mount, Seconds limit, const std::function<void()>& meanwhile);
    void explain();

    BoundedLoop& m_loop;
    Log& m_log;
    const GvfsLocation& m_location;
    const std::vector<std::string> m_trustedCertificates;
    PortProbe m_probe;
    GObjectPointer<GMountOperation> m_operation;
    std::optional<std::string> m_question; ///< one that waits for its answer
    MountFailure m_failure;
};

} // namespace quorrel
