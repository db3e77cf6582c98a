// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

typedef struct _GVariant GVariant; // NOLINT(modernize-use-using,bugprone-reserved-identifier): as GLib has it

namespace quorrel {

class AvahiConnection;
struct AvahiDaemonLife;

/// What the Avahi daemon has made for us and speaks of: a browser or a resolver. Main thread only; nothing waits.
/// Destroying it, also from its own calls, ends it at the daemon and silences it.
class AvahiObject final {
public:
    enum class Refusal {
        Full, ///< the daemon makes no more for this client
        Lost, ///< the daemon is going, which its connection is about to tell
        Other,
    };
    struct Hearer final {
        std::function<void(const std::string& signal, GVariant* parameters)> told;
        std::function<void(Refusal refusal, const std::string& reason)> refused;
    };

    /// `kind` is "ServiceBrowser" and the like; of the daemon that the connection has found. Nothing is heard before
    /// this returns. The parameters may be floating. Where the daemon owes many answers it is asked later.
    AvahiObject(AvahiConnection& connection, const std::string& kind, GVariant* parameters, Hearer hearer);
    AvahiObject(const AvahiObject&) = delete;
    AvahiObject& operator=(const AvahiObject&) = delete;
    ~AvahiObject();

private:
    friend class AvahiConnection;
    struct Callbacks;

    void made(const std::string& path);
    void tell(const std::string& signal, GVariant* parameters) const;

    const std::shared_ptr<AvahiDaemonLife> m_daemon;
    const std::string m_kind;
    const std::shared_ptr<const Hearer> m_hearer;
    const std::shared_ptr<AvahiObject*> m_self; ///< what a late answer finds expired
    const std::uint64_t m_turn; ///< among those that wait until fewer questions are unanswered
    std::string m_path; ///< empty until the daemon has answered
};

} // namespace quorrel
