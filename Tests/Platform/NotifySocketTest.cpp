// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/NotifySocket.h"

#include "Foundation/Log.h"
#include "Platform/Linux/FileDescriptor.h"
#include "Tests/Fakes/FakeClock.h"
#include "Tests/Fakes/RecordingLogSink.h"
#include "Tests/Fakes/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <cstddef>
#include <cstring>

#include <sys/socket.h>
#include <sys/un.h>

namespace quorrel {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

/// Where a service manager listens.
class Listener final {
public:
    explicit Listener(const std::string& address) {
        sockaddr_un where {};
        where.sun_family = AF_UNIX;
        std::memcpy(where.sun_path, address.data(), address.size());
        if (address.front() == '@')
            where.sun_path[0] = '\0';
        const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + address.size());
        EXPECT_EQ(bind(m_socket.get(), reinterpret_cast<const sockaddr*>(&where), length), 0);
    }

    [[nodiscard]] std::string next() const {
        std::array<char, 512> text {};
        const auto length = recv(m_socket.get(), text.data(), text.size(), MSG_DONTWAIT);
        return length < 0 ? "nothing" : std::string(text.data(), static_cast<std::size_t>(length));
    }

private:
    const FileDescriptor m_socket { socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0) };
};

class NotifySocketTest : public testing::Test {
protected:
    NotifySocketTest() { preferences.set("logToConsole", true); }

    TemporaryFolder folder;
    FakeClock clock;
    Preferences preferences;
    RecordingLogSink sink;
    Log log { preferences, clock, sink };
};

TEST_F(NotifySocketTest, tellsOnAPathAndInTheAbstractNameSpace) {
    for (const auto& address : { folder.path("notify"), "@" + folder.path("notify") }) {
        const Listener listener(address);
        NotifySocket manager(address, log);
        manager.ready();
        manager.reloading();
        manager.stopping();
        EXPECT_EQ(listener.next(), "READY=1");
        EXPECT_THAT(listener.next(), testing::MatchesRegex("RELOADING=1\nMONOTONIC_USEC=[0-9]+"));
        EXPECT_EQ(listener.next(), "STOPPING=1");
        EXPECT_EQ(listener.next(), "nothing");
    }
    EXPECT_THAT(sink.texts(), IsEmpty());
}

TEST_F(NotifySocketTest, isSilentWhereNobodyWantsToKnow) {
    NotifySocket manager("", log);
    manager.ready();
    EXPECT_THAT(sink.texts(), IsEmpty());
}

TEST_F(NotifySocketTest, logsWhatCannotBeTold) {
    const std::string tooLong(200, 'x');
    for (const auto& address : { folder.path("nobody"), "/" + tooLong, "@" + tooLong, std::string("relative") })
        NotifySocket(address, log).ready();
    EXPECT_THAT(sink.texts(),
        ElementsAre(HasSubstr("told READY=1: No such file"), HasSubstr("too long"), HasSubstr("too long"),
            HasSubstr("not supported")));
}

TEST_F(NotifySocketTest, aManagerThatHangsDoesNotKeepUs) {
    const Listener listener(folder.path("notify"));
    NotifySocket manager(folder.path("notify"), log);
    const auto begin = std::chrono::steady_clock::now();
    for (int count = 0; count < 1000 && sink.texts().empty(); ++count)
        manager.ready();
    EXPECT_THAT(sink.texts(), ElementsAre(HasSubstr("unavailable")));
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5));
}

} // namespace
} // namespace quorrel
