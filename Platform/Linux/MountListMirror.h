// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Linux/GlibPointers.h"
#include "Platform/Linux/GvfsMount.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace quorrel {

/// The session's list of gvfs mounts without asking for it each time: the last list that gvfs's daemon told, and every
/// change that it has announced since. Any thread.
///
/// The daemon's words arrive in their order: a mount is in here once the daemon has answered the call that made it. All
/// else may be a moment late, as it is in a list that was asked for. A readable path that a mount gets later is not
/// announced; only a list has it.
class MountListMirror final {
    struct State;

public:
    MountListMirror();
    MountListMirror(const MountListMirror&) = delete;
    MountListMirror& operator=(const MountListMirror&) = delete;
    ~MountListMirror();

    /// Hears from now on what comes over that connection, and over no other.
    void follow(GDBusConnection* connection);
    /// The one that is followed; null when it has ended or there is none.
    [[nodiscard]] GObjectPointer<GDBusConnection> connection() const;

    /// Absent while no list is known: none was told yet, or its daemon has ended.
    [[nodiscard]] std::optional<std::vector<GvfsMount>> mounts() const;

    /// A list that is asked for: made before the question is sent, so that what is announced meanwhile counts.
    class Listing final {
    public:
        explicit Listing(MountListMirror& mirror);
        Listing(const Listing&) = delete;
        Listing& operator=(const Listing&) = delete;
        ~Listing();

        /// Who told it: the daemon's own name on the bus.
        void told(const std::string& sender, std::vector<GvfsMount> mounts);

    private:
        const std::shared_ptr<State> m_state;
        std::uint64_t m_begin = 0;
    };

    /// Wakes the thread that made it, in its own default context, at every mount and unmount that is announced. One
    /// thread.
    class Watch final {
    public:
        explicit Watch(MountListMirror& mirror);
        Watch(const Watch&) = delete;
        Watch& operator=(const Watch&) = delete;
        ~Watch();

        /// Whether anything was announced since this was asked last.
        [[nodiscard]] bool hasHeard();

    private:
        friend struct State;
        const std::shared_ptr<State> m_state;
        const GlibPointer<GMainContext> m_context;
        bool m_hasHeard = false; ///< the state's mutex guards it
    };

private:
    void unfollow();
    static void release(GDBusConnection* connection, unsigned filter);
    static GDBusMessage* heard(
        GDBusConnection* connection, GDBusMessage* message, gboolean isIncoming, gpointer data) noexcept;

    const std::shared_ptr<State> m_state;
};

} // namespace quorrel
