// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Linux/GlibPointers.h"

#include <string>
#include <vector>

namespace quorrel {

/// Speaks like gvfs's daemon on a message bus, from the main context. Its mounts are what tests make up.
class FakeMountDaemon final {
public:
    enum class Manner { Answering, Silent, Confused };

    explicit FakeMountDaemon(const std::string& busAddress);
    FakeMountDaemon(const FakeMountDaemon&) = delete;
    FakeMountDaemon& operator=(const FakeMountDaemon&) = delete;
    ~FakeMountDaemon();

    /// Takes the daemon's name on the bus, or gives it up.
    [[nodiscard]] bool takeName();
    void giveUpName();
    [[nodiscard]] bool hasSomebodyTheName() const;

    /// Silent: questions wait until it is set to answer.
    void setManner(Manner manner);
    void mount(const std::string& share);
    void unmount(const std::string& share);
    /// Gives the mount the path at which its files are, and tells nobody.
    void showFiles(const std::string& share, const std::string& path);
    /// Says what only the daemon may say, whether it has the name or not.
    void claimMounted(const std::string& share) { emit("Mounted", { share, {} }); }
    [[nodiscard]] int questions() const { return m_questions; }

private:
    struct Mount final {
        std::string share;
        std::string path;
    };
    struct Callbacks;

    [[nodiscard]] static GVariant* describe(const Mount& mount);
    GlibPointer<GVariant> ask(const char* method, GVariant* parameters) const;
    void answer(GDBusMethodInvocation* question);
    void emit(const char* signal, const Mount& mount);

    GObjectPointer<GDBusConnection> m_connection;
    unsigned m_object = 0;
    Manner m_manner = Manner::Answering;
    std::vector<Mount> m_mounts;
    std::vector<GDBusMethodInvocation*> m_waiting;
    int m_questions = 0;
};

} // namespace quorrel
