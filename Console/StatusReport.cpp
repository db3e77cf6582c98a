// SPDX-License-Identifier: GPL-3.0-or-later
#include "Console/StatusReport.h"

#include "Console/ConsoleEnvironment.h"
#include "Console/DisplayText.h"
#include "Console/InterruptGuard.h"
#include "Console/JsonWriter.h"
#include "Console/LiveView.h"
#include "Console/Output.h"
#include "Platform/RunLoop.h"

#include <unordered_set>
#include <utility>

namespace quorrel {

namespace {

using Presence = RemoteClient::Presence;

bool tellsTheSame(const RemoteShare& one, const RemoteShare& other) {
    return one.state == other.state && one.status == other.status && one.error == other.error
        && one.mounted == other.mounted && one.path == other.path;
}

} // namespace

StatusReport::StatusReport(const ConsoleEnvironment& environment, bool json)
    : m_environment(environment)
    , m_json(json) { }

void StatusReport::write(const std::vector<RemoteShare>& shares) {
    std::unordered_set<std::string> there;
    for (const auto& share : shares) {
        there.insert(share.id);
        write(share);
    }
    std::vector<RemoteShare> gone;
    for (const auto& [identity, share] : m_written)
        if (!there.contains(identity))
            gone.push_back(share);
    for (auto& share : gone) {
        share.state = "removed";
        share.status = "no longer in the catalogue";
        share.error.clear();
        share.path.clear();
        share.mounted = false;
        write(share);
        m_written.erase(share.id);
    }
}

void StatusReport::write(const RemoteShare& share) {
    const auto [known, isNew] = m_written.try_emplace(share.id, share);
    const auto before = std::exchange(known->second, share);
    if (!isNew && (m_json ? tellsTheSame(before, share) : before.status == share.status && before.error == share.error))
        return;
    if (m_json)
        m_environment.output.write(JsonWriter::line(share));
    else
        m_environment.output.write(
            LiveView::text({ DisplayText::printable(share.host) + '/' + DisplayText::printable(share.share),
                share.status, share.error })
            + '\n');
    if (m_environment.output.isLost())
        m_environment.runLoop.quit();
}

void StatusReport::follow(RemoteClient& client, const InterruptGuard& guard, const std::string& catalogue,
    const std::function<std::vector<RemoteShare>()>& own) {
    client.start(
        { [&, this](Presence presence, const RemoteProgram& program) {
             changed(presence == Presence::There && program.catalogue != catalogue ? Presence::Absent : presence, own);
             if (m_wasThere)
                 list(client);
         },
            [this](const RemoteShare& share) {
                if (m_wasThere)
                    write(share);
            },
            [&, this] {
                if (m_wasThere)
                    list(client);
            } });
    while (!guard.isInterrupted() && !m_environment.output.isLost())
        m_environment.runLoop.run();
    client.stop();
}

void StatusReport::changed(Presence presence, const std::function<std::vector<RemoteShare>()>& own) {
    const bool isThere = presence == Presence::There;
    if (isThere && m_wasTold)
        say("Quorrel is running");
    if (!isThere && (m_wasThere || !m_wasTold)) {
        if (!m_wasThere)
            write(own());
        say(std::string(presence == Presence::Silent ? "Quorrel does not answer"
                    : m_wasThere                     ? "Quorrel has ended"
                                                     : "Quorrel is not running")
            + "; changes are shown as soon as it does run");
        m_wasTold = true;
    }
    m_wasThere = isThere;
}

void StatusReport::list(RemoteClient& client) {
    client.listShares([this](const auto& answer) {
        if (const auto* shares = std::get_if<std::vector<RemoteShare>>(&answer))
            write(*shares);
    });
}

void StatusReport::say(const std::string& message) const {
    m_environment.errors.write("quorrelctl: " + message + '\n');
}

} // namespace quorrel
