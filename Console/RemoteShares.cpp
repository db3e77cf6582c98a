// SPDX-License-Identifier: GPL-3.0-or-later
#include "Console/RemoteShares.h"

#include "Console/ConsoleEnvironment.h"
#include "Console/InterruptGuard.h"
#include "Foundation/MainThreadQueue.h"
#include "Platform/RunLoop.h"
#include "Sources/HostDefinition.h"
#include "Sources/SharePointDefinition.h"

#include <utility>

namespace quorrel {

namespace {

using Presence = RemoteClient::Presence;

/// What the password window asks for, and puts the answer in.
class WantedPassword final : public PasswordWindowTarget {
public:
    WantedPassword(PasswordWindow& window, const RemoteShare& share)
        : m_window(window)
        , m_share(share) { }

    [[nodiscard]] std::string hostName() const override { return m_share.host; }
    [[nodiscard]] std::string shareName() const override { return m_share.share; }
    [[nodiscard]] std::string password() const override { return m_password; }
    void setPassword(const std::string& text) override { m_password = text; }
    void saveHostPassword() override { m_window.stopModal(); }
    void cancelhostPassword() override { m_window.abortModal(); }

private:
    PasswordWindow& m_window;
    const RemoteShare& m_share;
    std::string m_password;
};

ShareRow rowOf(const RemoteShare& share) {
    return { share.host, share.share, share.service, share.status, share.path, share.error, share.mounted };
}

} // namespace

RemoteShares::RemoteShares(const ConsoleEnvironment& environment, RemoteClient& client, const InterruptGuard& guard,
    std::string catalogue, std::optional<std::string> password)
    : m_environment(environment)
    , m_client(client)
    , m_guard(guard)
    , m_catalogue(std::move(catalogue))
    , m_context(
          std::make_shared<const CatalogueContext>(CatalogueContext { environment.strings, environment.workspace }))
    , m_passwordWindow(std::move(password), environment.prompt, environment.errors, [this] {
        if (m_view)
            m_view->clear();
    }) { }

RemoteShares::~RemoteShares() {
    m_client.stop();
}

bool RemoteShares::connect() {
    m_client.start({ [this](Presence presence, const RemoteProgram& program) {
                        const bool isOurs = presence != Presence::There || program.catalogue == m_catalogue;
                        m_presence = isOurs ? presence : Presence::Absent;
                        m_environment.runLoop.quit();
                    },
        [this](const RemoteShare& share) { changed(share); }, [] {} });
    while (!m_presence && !m_guard.isInterrupted())
        wait();
    bool isAnswered = false;
    if (m_presence == Presence::There && refresh()) {
        m_client.listHosts([&](const auto& answer) {
            if (const auto* hosts = std::get_if<std::vector<RemoteHost>>(&answer)) {
                makeHosts(*hosts);
                isAnswered = true;
            }
            m_environment.runLoop.quit();
        });
        wait();
    }
    if (!isAnswered && m_presence != Presence::Absent && !m_guard.isInterrupted())
        m_environment.errors.write("quorrelctl: Quorrel is running, but does not answer; this goes on without it\n");
    return isAnswered;
}

void RemoteShares::wait() {
    m_environment.runLoop.run();
}

bool RemoteShares::refresh() {
    std::optional<bool> isAnswered;
    m_client.listShares([&](auto answer) {
        isAnswered = answer.index() == 0;
        if (*isAnswered) {
            m_shares = std::get<0>(std::move(answer));
            m_places.clear();
            for (std::size_t place = 0; place < m_shares.size(); ++place)
                m_places.emplace(m_shares[place].id, place);
        }
        m_environment.runLoop.quit();
    });
    while (!isAnswered && !m_guard.isInterrupted())
        wait();
    return isAnswered.value_or(false);
}

void RemoteShares::makeHosts(const std::vector<RemoteHost>& hosts) {
    const auto add = [this](const std::string& name) {
        m_hosts.push_back(HostDefinition::initWithName(name, m_context));
        return m_hosts.back();
    };
    // Shares come host by host. Where two hosts of one name follow each other, they make one here, which is no matter:
    // a name means both.
    for (const auto& share : m_shares) {
        const auto host = !m_hosts.empty() && textOf(m_hosts.back()->displayName.get()) == share.host ? m_hosts.back()
                                                                                                      : add(share.host);
        auto sharePoint = SharePointDefinition::initWithParentHost(host);
        sharePoint->sharePoint.set(share.share);
        m_identities.emplace(sharePoint.get(), share.id);
        host->sharePoints.append(std::move(sharePoint));
    }
    for (const auto& host : hosts)
        if (host.shares == 0)
            add(host.name);
}

void RemoteShares::changed(const RemoteShare& share) {
    const auto line = m_lines.find(share.id);
    if (line == m_lines.end() || !m_view || m_guard.isInterrupted())
        return;
    m_view->change(line->second, share.status, share.error);
    m_view->refresh();
}

void RemoteShares::run(Kind kind, const SharePoints& sharePoints, Output* progress) {
    m_kind = kind;
    m_asked = sharePoints;
    std::vector<LiveView::Line> lines;
    for (const auto& sharePoint : sharePoints) {
        m_lines.emplace(m_identities[sharePoint.get()], lines.size());
        const auto* share = shareOf(*sharePoint);
        lines.push_back(
            share ? LiveView::Line { rowOf(*share).name(), share->status, share->error } : LiveView::Line {});
    }
    if (progress != nullptr) {
        m_view.emplace(*progress, std::move(lines));
        m_view->refresh();
    }
    post([this] { startNext(); });
    while (m_answered < m_asked.size() && !m_guard.isInterrupted())
        wait();
    if (m_guard.isInterrupted())
        return;
    if (!refresh() && !m_guard.isInterrupted())
        m_environment.errors.write("quorrelctl: Quorrel ended meanwhile\n");
    if (m_view)
        m_view->clear();
}

void RemoteShares::post(std::function<void()> step) {
    m_environment.mainThreadQueue.post([weak = std::weak_ptr(m_self), step = std::move(step)] {
        if (!weak.expired())
            step();
    });
}

void RemoteShares::startNext() {
    // One at a time, since a start may ask for a password and so block this thread.
    if (m_started == m_asked.size() || m_guard.isInterrupted())
        return;
    const auto& sharePoint = *m_asked[m_started++];
    const auto* share = shareOf(sharePoint);
    if (share) {
        start(sharePoint, *share);
    } else {
        ++m_answered;
        endIfDone();
    }
    post([this] { startNext(); });
}

void RemoteShares::start(const SharePointDefinition& sharePoint, const RemoteShare& share) {
    RemoteCommand command { m_kind == Kind::Mount ? RemoteCommand::Kind::Mount : RemoteCommand::Kind::Unmount,
        share.id };
    if (m_kind == Kind::Mount && share.needsPassword)
        command.password = passwordFor(share);
    m_client.perform(command, [this, key = &sharePoint](const RemoteOutcome& outcome) {
        if (const auto* failure = std::get_if<RemoteFailure>(&outcome))
            m_errors[key] = failure->message;
        ++m_answered;
        endIfDone();
    });
}

std::optional<std::string> RemoteShares::passwordFor(const RemoteShare& share) {
    if (const auto known = m_passwords.find(share.host); known != m_passwords.end())
        return known->second;
    WantedPassword wanted(m_passwordWindow, share);
    if (m_passwordWindow.runModal(wanted) != PasswordWindow::Response::Stopped || wanted.password().empty())
        return std::nullopt;
    return m_passwords[share.host] = wanted.password();
}

void RemoteShares::endIfDone() {
    if (m_answered == m_asked.size())
        m_environment.runLoop.quit();
}

std::vector<ShareRow> RemoteShares::rows(const SharePoints& sharePoints) {
    std::vector<ShareRow> rows;
    for (const auto& sharePoint : sharePoints) {
        const auto* share = shareOf(*sharePoint);
        if (!share)
            continue; // deleted meanwhile
        auto& row = rows.emplace_back(rowOf(*share));
        const auto failed = m_errors.find(sharePoint.get());
        if (failed != m_errors.end() && row.error.empty() && row.mounted != (m_kind == Kind::Mount))
            row.error = failed->second;
    }
    return rows;
}

const RemoteShare* RemoteShares::shareOf(const SharePointDefinition& sharePoint) const {
    const auto identity = m_identities.find(&sharePoint);
    if (identity == m_identities.end())
        return nullptr;
    const auto place = m_places.find(identity->second);
    return place == m_places.end() ? nullptr : &m_shares[place->second];
}

} // namespace quorrel
