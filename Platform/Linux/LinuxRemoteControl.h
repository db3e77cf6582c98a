// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Linux/MessageBus.h"
#include "Platform/RemoteControl.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include <sys/types.h>

struct _GDBusConnection; // NOLINT(bugprone-reserved-identifier): as GLib has it

namespace quorrel {

/// The interface `RemoteInterface` on the session bus, on whichever bus there is. Each caller's user is asked of the
/// bus before anything is done for it. Main thread only.
class LinuxRemoteControl final : public RemoteControl {
public:
    struct Settings final {
        std::string bus; ///< the session bus's address; empty without one
        uid_t user = 0; ///< whose programs get through
    };

    explicit LinuxRemoteControl(Settings settings);
    LinuxRemoteControl(const LinuxRemoteControl&) = delete;
    LinuxRemoteControl& operator=(const LinuxRemoteControl&) = delete;
    ~LinuxRemoteControl() override;

    void start(RemoteControlTarget& target) override;
    void stop() override;
    void tellShareChanged(const RemoteShare& share) override;
    void tellSharesChanged() override;

private:
    struct Callbacks;
    struct Call;

    void busChanged(_GDBusConnection* connection);
    void leave();
    void flush();
    void flushed();
    void send(const RemoteShare& share);
    /// The caller is one of ours.
    void answer(std::unique_ptr<Call> call);
    void readPassword(std::unique_ptr<Call> call);
    void perform(std::unique_ptr<Call> call);

    const Settings m_settings;
    RemoteControlTarget* m_target = nullptr;
    std::optional<MessageBus> m_bus;
    _GDBusConnection* m_connection = nullptr; // the bus's
    unsigned m_object = 0;
    unsigned m_name = 0;
    std::shared_ptr<LinuxRemoteControl*> m_self; // while on a bus: what its answers hold weakly
    std::size_t m_untold = 0; // signals since the bus last took all
    bool m_isFlushing = false;
    bool m_isListHeld = false;
    std::vector<RemoteShare> m_held; // until the bus has taken what was sent
    std::unordered_map<std::string, std::size_t> m_heldPlaces;
};

} // namespace quorrel
