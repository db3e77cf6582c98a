// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/LinuxRemoteClient.h"
#include "Platform/Linux/LinuxRemoteControl.h"
#include "Platform/Linux/PasswordReader.h"
#include "Platform/Linux/RemoteInterface.h"
#include "Tests/Platform/DesktopBus.h"
#include "Tests/Platform/GlibTurns.h"
#include "Tests/Platform/ScriptedTarget.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <fstream>
#include <functional>
#include <iterator>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <gio/gio.h>
#include <sys/wait.h>
#include <unistd.h>

namespace quorrel {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;

using Kind = RemoteCommand::Kind;
using Failure = RemoteFailure::Kind;
using Presence = RemoteClient::Presence;

constexpr Seconds patience { 30 };

bool comes(const std::function<bool()>& condition) {
    return runMainContextUntil(condition, patience);
}

void spend(Seconds duration) {
    EXPECT_FALSE(runMainContextUntil([] { return false; }, duration));
}

/// What a tool on the bus prints, while this process answers it.
struct Tool final {
    explicit Tool(const std::vector<std::string>& arguments) {
        std::vector<const char*> words;
        for (const auto& argument : arguments)
            words.push_back(argument.c_str());
        words.push_back(nullptr);
        GError* failure = nullptr;
        const GObjectPointer<GSubprocess> process(g_subprocess_newv(words.data(),
            static_cast<GSubprocessFlags>(G_SUBPROCESS_FLAGS_STDOUT_PIPE | G_SUBPROCESS_FLAGS_STDERR_MERGE), &failure));
        const GlibPointer<GError> error(failure);
        if (!process) {
            output = error->message;
            return;
        }
        g_subprocess_communicate_utf8_async(process.get(), nullptr, nullptr, &Tool::ended, this);
        EXPECT_TRUE(comes([this] { return isDone; }));
    }

    static void ended(GObject* process, GAsyncResult* result, gpointer data) noexcept {
        auto* const tool = static_cast<Tool*>(data);
        gchar* text = nullptr;
        if (g_subprocess_communicate_utf8_finish(G_SUBPROCESS(process), result, &text, nullptr, nullptr) && text) {
            tool->output = text;
            g_free(text);
        }
        tool->isDone = true;
        tool->status = g_subprocess_get_exit_status(G_SUBPROCESS(process));
    }

    std::string output;
    int status = -1;
    bool isDone = false;
};

class RemoteBusTest : public testing::Test {
protected:
    RemoteBusTest() {
        target.shareList
            = { { "nas/smb/docs", "nas", "smb", "docs", "mounted", "Online", "", "/v/docs", true, true, false, false },
                  { "nas/smb/\u65e5\u672c", "nas", "smb", "\u65e5\u672c", "failed", "Offline", "Wrong password.", "",
                      false, false, true, true } };
        target.hostList = { { "nas", 2, true, false } };
    }

    void startBoth() {
        ASSERT_TRUE(bus.start());
        control.start(target);
        client.start(observer());
        ASSERT_TRUE(comes([&] { return !presences.empty() && presences.back() == Presence::There; }));
    }

    RemoteClient::Observer observer() {
        return { [this](Presence presence, const RemoteProgram& program) {
                    presences.push_back(presence);
                    programs.push_back(program);
                },
            [this](const RemoteShare& share) { changes.push_back(share); }, [this] { ++lists; } };
    }

    RemoteReply reply() {
        return [this](RemoteOutcome outcome) { outcomes.push_back(std::move(outcome)); };
    }

    std::vector<std::string> gdbus(const std::string& method, const std::vector<std::string>& arguments = {}) const {
        std::vector<std::string> all { "/usr/bin/gdbus", "call", "--address", bus.address(), "--dest",
            RemoteInterface::name, "--object-path", RemoteInterface::path, "--timeout", "20", "--method",
            method.find('.') == std::string::npos ? std::string(RemoteInterface::name) + '.' + method : method };
        all.insert(all.end(), arguments.begin(), arguments.end());
        return all;
    }

    DesktopBus bus;
    ScriptedTarget target;
    LinuxRemoteControl control { { bus.address(), getuid() } };
    LinuxRemoteClient client { bus.address() };
    std::vector<Presence> presences;
    std::vector<RemoteProgram> programs;
    std::vector<RemoteShare> changes;
    int lists = 0;
    std::vector<RemoteOutcome> outcomes;
};

TEST_F(RemoteBusTest, WhoIsThereTellsOfItselfAndItsShares) {
    startBoth();
    EXPECT_EQ(programs.back(), target.program());
    std::vector<RemoteShare> shares;
    std::vector<RemoteHost> hosts;
    client.listShares([&](auto answer) { shares = std::get<0>(std::move(answer)); });
    client.listHosts([&](auto answer) { hosts = std::get<0>(std::move(answer)); });
    ASSERT_TRUE(comes([&] { return !shares.empty() && !hosts.empty(); }));
    EXPECT_EQ(shares, target.shareList);
    EXPECT_EQ(hosts, target.hostList);
}

TEST_F(RemoteBusTest, CarriesEveryCommandAndItsOutcome) {
    startBoth();
    for (const auto kind : { Kind::Mount, Kind::Unmount, Kind::MountHost, Kind::UnmountHost, Kind::MountAll,
             Kind::UnmountAll, Kind::MountFavourite }) {
        outcomes.clear();
        target.outcome = target.shareList;
        const std::string name = RemoteInterface::takesName(kind) ? "nas/smb/docs" : "";
        client.perform({ kind, name, "s3cret" }, reply());
        ASSERT_TRUE(comes([&] { return outcomes.size() == 1; }));
        EXPECT_EQ(target.commands.back().kind, kind);
        EXPECT_EQ(target.commands.back().name, name);
        EXPECT_EQ(target.commands.back().password, "s3cret");
        const auto expected = RemoteInterface::returnsShares(kind) ? target.shareList : std::vector<RemoteShare>();
        EXPECT_EQ(std::get<std::vector<RemoteShare>>(outcomes[0]), expected);
    }
    client.perform({ Kind::MountAll }, reply());
    ASSERT_TRUE(comes([&] { return outcomes.size() == 2; }));
    EXPECT_EQ(target.commands.back().password, std::nullopt);
}

TEST_F(RemoteBusTest, CarriesEveryFailureWithItsText) {
    startBoth();
    for (const auto kind : { Failure::AccessDenied, Failure::BadPassword, Failure::Busy, Failure::MountFailed,
             Failure::NoAnswer, Failure::PasswordNeeded, Failure::ShuttingDown, Failure::UnknownFavourite,
             Failure::UnknownHost, Failure::UnknownShare, Failure::UnmountFailed, Failure::Other }) {
        outcomes.clear();
        target.outcome = RemoteFailure { kind, "Es ging nicht: \u00fcber \xFF." };
        client.perform({ Kind::Mount, "x" }, reply());
        ASSERT_TRUE(comes([&] { return outcomes.size() == 1; }));
        EXPECT_EQ(std::get<RemoteFailure>(outcomes[0]), (RemoteFailure { kind, "Es ging nicht: \u00fcber \uFFFD." }));
    }
}

TEST_F(RemoteBusTest, NamesThatAreNoTextDoNotEndTheConnection) {
    startBoth();
    target.shareList[0].share = "bad \xFF byte";
    target.shareList[0].id = "nas/smb/bad\xFF";
    std::vector<RemoteShare> shares;
    client.listShares([&](auto answer) { shares = std::get<0>(std::move(answer)); });
    control.tellShareChanged(target.shareList[0]);
    ASSERT_TRUE(comes([&] { return !shares.empty() && !changes.empty(); }));
    EXPECT_EQ(shares[0].share, "bad \uFFFD byte");
    EXPECT_EQ(changes[0].id, "nas/smb/bad\uFFFD");
}

TEST_F(RemoteBusTest, TellsOfChangesInTheirOrder) {
    startBoth();
    for (const auto* state : { "mounting", "mounted", "unmounting", "unmounted" }) {
        auto share = target.shareList[0];
        share.state = state;
        control.tellShareChanged(share);
    }
    control.tellSharesChanged();
    ASSERT_TRUE(comes([&] { return changes.size() == 4 && lists == 1; }));
    EXPECT_EQ(changes[0].state + changes[1].state + changes[2].state + changes[3].state,
        "mountingmountedunmountingunmounted");
}

TEST_F(RemoteBusTest, OfABurstTheLastStateOfEachShareArrives) {
    startBoth();
    constexpr int rounds = 20'000;
    for (int round = 0; round <= rounds; ++round) {
        auto share = target.shareList[static_cast<std::size_t>(round % 2)];
        share.status = std::to_string(round);
        control.tellShareChanged(share);
    }
    control.tellSharesChanged();
    control.tellSharesChanged();
    ASSERT_TRUE(comes([&] {
        return lists > 0 && !changes.empty() && changes.back().status == std::to_string(rounds - 1);
    })) << changes.size();
    EXPECT_LT(changes.size(), 1000U);
    EXPECT_EQ(lists, 1);
}

TEST_F(RemoteBusTest, AReceiverThatStandsStillHoldsNobodyUp) {
    startBoth();
    const std::string match = "type='signal'";
    const pid_t monitor = fork();
    if (monitor == 0) {
        execl("/usr/bin/dbus-monitor", "dbus-monitor", "--address", bus.address().c_str(), match.c_str(),
            static_cast<char*>(nullptr));
        _exit(127);
    }
    spend(Seconds(0.3));
    kill(monitor, SIGSTOP);
    for (int round = 0; round < 5000; ++round) {
        auto share = target.shareList[0];
        share.status = std::to_string(round);
        control.tellShareChanged(share);
        if (round % 50 == 0)
            g_main_context_iteration(nullptr, FALSE);
    }
    EXPECT_TRUE(comes([&] { return !changes.empty() && changes.back().status == "4999"; }));
    kill(monitor, SIGKILL);
    waitpid(monitor, nullptr, 0);
}

TEST_F(RemoteBusTest, RefusesAProgramOfAnotherUser) {
    ASSERT_TRUE(bus.start());
    LinuxRemoteControl foreign({ bus.address(), getuid() + 1 });
    foreign.start(target);
    client.start(observer());
    ASSERT_TRUE(comes([&] { return !presences.empty() && presences.back() == Presence::Silent; }));
    client.perform({ Kind::MountAll, "", "s3cret" }, reply());
    std::optional<RemoteFailure> listing;
    client.listShares([&](auto answer) { listing = std::get<1>(std::move(answer)); });
    ASSERT_TRUE(comes([&] { return outcomes.size() == 1 && listing; }));
    EXPECT_EQ(std::get<RemoteFailure>(outcomes[0]).kind, Failure::AccessDenied);
    EXPECT_EQ(listing->kind, Failure::AccessDenied);
    EXPECT_THAT(target.commands, IsEmpty());
    EXPECT_EQ(target.asked, 0);
}

TEST_F(RemoteBusTest, APasswordInAMessageIsRefusedAndNotPassedOn) {
    startBoth();
    const Tool tool(gdbus("MountAll", { "{'password': <'s3cret'>}" }));
    EXPECT_THAT(tool.output, HasSubstr("org.quorrel.Quorrel1.Error.BadPassword"));
    EXPECT_NE(tool.status, 0);
    EXPECT_THAT(target.commands, IsEmpty());
}

TEST_F(RemoteBusTest, ToolsOfTheSystemCallIt) {
    startBoth();
    const Tool listed(gdbus("ListShares"));
    EXPECT_EQ(listed.status, 0) << listed.output;
    EXPECT_THAT(listed.output, HasSubstr("'id': <'nas/smb/docs'>"));
    const Tool mounted(gdbus("Mount", { "nas/smb/docs", "{}" }));
    EXPECT_EQ(mounted.output, "()\n");
    EXPECT_EQ(target.commands.back().name, "nas/smb/docs");
    const Tool version(gdbus("org.freedesktop.DBus.Properties.Get", { RemoteInterface::name, "InterfaceVersion" }));
    EXPECT_EQ(version.output, "(<uint32 1>,)\n");
    const Tool nothing(gdbus("org.freedesktop.DBus.Properties.Get", { RemoteInterface::name, "Colour" }));
    EXPECT_NE(nothing.status, 0);
    const Tool readOnly(
        gdbus("org.freedesktop.DBus.Properties.Set", { RemoteInterface::name, "InterfaceVersion", "<uint32 7>" }));
    EXPECT_NE(readOnly.status, 0);
    const Tool unknown(gdbus("Explode"));
    EXPECT_NE(unknown.status, 0);
    const Tool busctl({ "/usr/bin/busctl", "--address=" + bus.address(), "call", RemoteInterface::name,
        RemoteInterface::path, RemoteInterface::name, "MountAll", "a{sv}", "0" });
    EXPECT_EQ(busctl.status, 0) << busctl.output;
    EXPECT_THAT(busctl.output, HasSubstr("aa{sv} "));
}

TEST_F(RemoteBusTest, IntrospectionSaysWhatTheDocumentedFileSays) {
    startBoth();
    std::ifstream file(QUORREL_INTERFACE_FILE);
    const std::string documented((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    EXPECT_EQ(documented, RemoteInterface::introspection);
    const Tool tool(gdbus("org.freedesktop.DBus.Introspectable.Introspect"));
    auto text = tool.output.substr(tool.output.find('<'));
    text.resize(text.rfind('>') + 1);
    GlibPointer<gchar> unescaped(g_strcompress(text.c_str()));
    const auto interfaceOf = [](const char* xml) {
        GDBusNodeInfo* const node = g_dbus_node_info_new_for_xml(xml, nullptr);
        std::string result;
        if (auto* const info = node ? g_dbus_node_info_lookup_interface(node, RemoteInterface::name) : nullptr) {
            GString* const written = g_string_new(nullptr);
            g_dbus_interface_info_generate_xml(info, 0, written);
            result = written->str;
            g_string_free(written, TRUE);
        }
        if (node)
            g_dbus_node_info_unref(node);
        return result;
    };
    const auto said = interfaceOf(unescaped.get());
    EXPECT_THAT(said, HasSubstr("ListShares"));
    EXPECT_EQ(said, interfaceOf(documented.c_str()));
}

TEST_F(RemoteBusTest, ACallerThatGoesInTheMiddleIsNoMatter) {
    startBoth();
    target.holdsReplies = true;
    {
        LinuxRemoteClient other(bus.address());
        bool isThere = false;
        other.start({ [&](Presence presence, const RemoteProgram&) { isThere = presence == Presence::There; },
            [](const RemoteShare&) {}, [] {} });
        ASSERT_TRUE(comes([&] { return isThere; }));
        other.perform({ Kind::MountAll }, [](RemoteOutcome) { ADD_FAILURE() << "its caller has gone"; });
        ASSERT_TRUE(comes([&] { return target.held.size() == 1; }));
    }
    target.held[0](target.shareList);
    target.holdsReplies = false;
    client.perform({ Kind::MountAll }, reply());
    EXPECT_TRUE(comes([&] { return outcomes.size() == 1; }));
}

TEST_F(RemoteBusTest, ACallIsAnsweredThoughTheProgramEnds) {
    startBoth();
    target.holdsReplies = true;
    client.perform({ Kind::MountAll }, reply());
    ASSERT_TRUE(comes([&] { return target.held.size() == 1; }));
    control.stop();
    ASSERT_TRUE(comes([&] { return outcomes.size() == 1 && presences.back() == Presence::Absent; }));
    EXPECT_EQ(std::get<RemoteFailure>(outcomes[0]).kind, Failure::NoAnswer);
    client.perform({ Kind::MountAll }, reply());
    EXPECT_EQ(std::get<RemoteFailure>(outcomes.back()).kind, Failure::NoAnswer);
}

TEST_F(RemoteBusTest, FollowsAProgramThatComesAndGoesAndABusThatDoes) {
    ASSERT_TRUE(bus.start());
    client.start(observer());
    ASSERT_TRUE(comes([&] { return presences == std::vector { Presence::Absent }; }));
    control.start(target);
    ASSERT_TRUE(comes([&] { return presences.back() == Presence::There; }));
    bus.stop();
    ASSERT_TRUE(comes([&] { return presences.back() == Presence::Absent; }));
    control.tellShareChanged(target.shareList[0]); // to nobody
    ASSERT_TRUE(bus.start());
    ASSERT_TRUE(comes([&] { return presences.back() == Presence::There; }));
    control.tellShareChanged(target.shareList[1]);
    ASSERT_TRUE(comes([&] { return changes.size() == 1; }));
    EXPECT_EQ(presences, (std::vector { Presence::Absent, Presence::There, Presence::Absent, Presence::There }));
}

TEST_F(RemoteBusTest, WithoutABusNobodyIsThere) {
    LinuxRemoteClient alone("");
    LinuxRemoteControl mute({ "", getuid() });
    mute.start(target);
    mute.tellShareChanged(target.shareList[0]);
    alone.start(observer());
    EXPECT_TRUE(comes([&] { return presences == std::vector { Presence::Absent }; }));
    client.start(observer()); // its bus was never started
    EXPECT_TRUE(comes([&] { return presences.size() == 2; }));
    EXPECT_EQ(presences.back(), Presence::Absent);
}

TEST_F(RemoteBusTest, AProgramThatHangsIsSilent) {
    ASSERT_TRUE(bus.start());
    const GObjectPointer<GDBusConnection> hung(g_dbus_connection_new_for_address_sync(bus.address().c_str(),
        static_cast<GDBusConnectionFlags>(
            G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT | G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
        nullptr, nullptr, nullptr));
    ASSERT_TRUE(hung);
    const auto swallow = [](GDBusConnection*, GDBusMessage* message, gboolean isIncoming, gpointer) -> GDBusMessage* {
        if (isIncoming == FALSE || g_dbus_message_get_message_type(message) != G_DBUS_MESSAGE_TYPE_METHOD_CALL)
            return message;
        g_object_unref(message);
        return nullptr;
    };
    g_dbus_connection_add_filter(hung.get(), swallow, nullptr, nullptr);
    const auto name = g_bus_own_name_on_connection(
        hung.get(), RemoteInterface::name, G_BUS_NAME_OWNER_FLAGS_NONE, nullptr, nullptr, nullptr, nullptr);
    LinuxRemoteClient hasty(bus.address(), Seconds(0.3));
    hasty.start(observer());
    EXPECT_TRUE(comes([&] { return !presences.empty() && presences.back() == Presence::Silent; }));
    std::optional<RemoteFailure> listing;
    hasty.listShares([&](auto answer) { listing = std::get<1>(std::move(answer)); });
    EXPECT_TRUE(comes([&] { return listing.has_value(); }));
    EXPECT_EQ(listing->kind, Failure::NoAnswer);
    g_bus_unown_name(name);
}

class PasswordReaderTest : public testing::Test {
protected:
    PasswordReaderTest() { EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0); }
    ~PasswordReaderTest() override {
        if (ends[1] >= 0)
            close(ends[1]);
    }

    void write(const std::string& text) const {
        EXPECT_EQ(::write(ends[1], text.data(), text.size()), static_cast<ssize_t>(text.size()));
    }
    std::optional<std::string> read() {
        bool isDone = false;
        std::optional<std::string> result;
        const PasswordReader reader(FileDescriptor { ends[0] }, [&](std::optional<std::string> password) {
            result = std::move(password);
            isDone = true;
        });
        EXPECT_TRUE(comes([&] { return isDone; }));
        return result;
    }
    void endWriting() { close(std::exchange(ends[1], -1)); }

    int ends[2] = { -1, -1 };
};

TEST_F(PasswordReaderTest, ReadsTheFirstLine) {
    write("s3cr\u00e9t phrase\r\nmore");
    EXPECT_EQ(read(), "s3cr\u00e9t phrase");
}

TEST_F(PasswordReaderTest, ReadsToTheEndWhereThereIsNoLine) {
    write("s3cret");
    endWriting();
    EXPECT_EQ(read(), "s3cret");
}

TEST_F(PasswordReaderTest, RefusesWhatIsNoPassword) {
    write(std::string("a\0b\n", 4));
    EXPECT_EQ(read(), std::nullopt);
}

TEST_F(PasswordReaderTest, RefusesWhatDoesNotEnd) {
    write(std::string(2000, 'x'));
    EXPECT_EQ(read(), std::nullopt);
}

TEST_F(PasswordReaderTest, StopsWhenItGoes) {
    {
        const PasswordReader reader(
            FileDescriptor { ends[0] }, [](const std::optional<std::string>&) { ADD_FAILURE() << "it has gone"; });
        write("s3cret\n");
    }
    spend(Seconds(0.2));
}

} // namespace
} // namespace quorrel
