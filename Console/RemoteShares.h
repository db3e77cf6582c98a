// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Console/ConsolePasswordWindow.h"
#include "Console/LiveView.h"
#include "Console/ShareAgent.h"
#include "Platform/RemoteClient.h"
#include "Sources/CatalogueContext.h"

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>

namespace quorrel {

class InterruptGuard;
struct ConsoleEnvironment;

/// The shares of the program that keeps the catalogue, which mounts them for this one.
class RemoteShares final : public ShareAgent {
public:
    /// All of it must outlive this. The catalogue is the file that the user means.
    RemoteShares(const ConsoleEnvironment& environment, RemoteClient& client, const InterruptGuard& guard,
        std::string catalogue, std::optional<std::string> password);
    RemoteShares(const RemoteShares&) = delete;
    RemoteShares& operator=(const RemoteShares&) = delete;
    ~RemoteShares() override;

    /// Whether one is there that keeps this catalogue and answers; within seconds.
    [[nodiscard]] bool connect();

    [[nodiscard]] Hosts hosts() override { return m_hosts; }
    void run(Kind kind, const SharePoints& sharePoints, Output* progress) override;
    [[nodiscard]] std::vector<ShareRow> rows(const SharePoints& sharePoints) override;
    [[nodiscard]] std::vector<RemoteShare> shares() override { return m_shares; }

private:
    /// Runs the loop until something ends it, or a signal does.
    void wait();
    /// Asks how all are now; whether that was answered.
    [[nodiscard]] bool refresh();
    void makeHosts(const std::vector<RemoteHost>& hosts);
    void changed(const RemoteShare& share);
    void post(std::function<void()> step);
    void startNext();
    void start(const SharePointDefinition& sharePoint, const RemoteShare& share);
    [[nodiscard]] std::optional<std::string> passwordFor(const RemoteShare& share);
    void endIfDone();
    /// As it was told last; null for one that is not there any more.
    [[nodiscard]] const RemoteShare* shareOf(const SharePointDefinition& sharePoint) const;

    const ConsoleEnvironment& m_environment;
    RemoteClient& m_client;
    const InterruptGuard& m_guard;
    const std::string m_catalogue;
    const CatalogueContextPointer m_context;
    ConsolePasswordWindow m_passwordWindow;
    std::optional<RemoteClient::Presence> m_presence;
    std::vector<RemoteShare> m_shares;
    std::unordered_map<std::string, std::size_t> m_places; // of those, by identity
    Hosts m_hosts; // as they were at first
    std::unordered_map<const SharePointDefinition*, std::string> m_identities;
    std::unordered_map<const SharePointDefinition*, std::string> m_errors; // of commands that failed
    std::map<std::string, std::string> m_passwords; // by host, those that were given

    Kind m_kind = Kind::Mount;
    SharePoints m_asked;
    std::unordered_map<std::string, std::size_t> m_lines; // of those asked for, by identity
    std::size_t m_started = 0;
    std::size_t m_answered = 0;
    std::optional<LiveView> m_view;
    const std::shared_ptr<RemoteShares*> m_self = std::make_shared<RemoteShares*>(this); // what steps hold weakly
};

} // namespace quorrel
