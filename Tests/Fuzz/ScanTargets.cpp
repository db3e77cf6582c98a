// SPDX-License-Identifier: GPL-3.0-or-later
#include "Foundation/MainThreadQueue.h"
#include "Foundation/NotificationCenter.h"
#include "Foundation/Observable.h"
#include "Foundation/Paragraphs.h"
#include "Foundation/PrintedList.h"
#include "Foundation/Text.h"
#include "Foundation/TextList.h"
#include "Sources/DiscoveryEnvironment.h"
#include "Sources/Globals.h"
#include "Sources/HostFileScanner.h"
#include "Sources/SMBScanner.h"
#include "Tests/Fakes/FakeDNSServiceDiscovery.h"
#include "Tests/Fakes/FakeNetworkReachability.h"
#include "Tests/Fakes/FakeRunLoop.h"
#include "Tests/Fakes/FakeVolumeWatch.h"
#include "Tests/Fakes/FakeWorkspace.h"
#include "Tests/Fuzz/CannedTool.h"
#include "Tests/Fuzz/FuzzInput.h"
#include "Tests/Fuzz/FuzzLog.h"
#include "Tests/Fuzz/Targets.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

namespace quorrel::fuzz {

namespace {

struct World final {
    FuzzLog log;
    FakeDNSServiceDiscovery discovery;
    FakeVolumeWatch volumes;
    FakeNetworkReachability network;
    MainThreadQueue queue;
    FakeRunLoop runLoop { queue };
    FakeWorkspace workspace;
    NotificationCenter center;

    [[nodiscard]] DiscoveryEnvironment environment(ChildProcess& tool) {
        return { discovery, volumes, network, runLoop, tool, workspace, center, log.log(), "/bin/false", "/dev/null" };
    }
};

World& world() {
    static World made;
    return made;
}

struct Owner final : Observable {
    TextList names { *this, "names" };
};

/// What a scan of that output adds to an empty list, each name looked for by itself.
std::vector<std::string> namesOneByOne(std::string_view output) {
    PrintedList list;
    for (auto& line : Text::paragraphs(Text::fromASCII(output))) {
        const auto comma = line.find(',');
        if (comma == std::string::npos)
            continue;
        line.resize(comma);
        auto probe = line;
        std::replace(probe.begin(), probe.end(), '-', ' ');
        if (!list.printedFormContains(probe))
            list.append(line);
    }
    return list.items();
}

} // namespace

void readSMBScan(std::string_view input) {
    CannedTool tool { std::string(input) };
    const auto environment = world().environment(tool);
    Owner owner;
    SMBScanner scanner(environment);
    scanner.setSmbHosts(&owner.names);

    scanner.main();
    const auto names = owner.names.snapshot();
    for (const auto& name : names) {
        require(!name.empty(), "a host that was scanned has a name");
        require(!contains(name, ",") && !hasLineEnd(name), "a name ends where its line or the address begins");
    }
    constexpr std::size_t small = 4096; // it takes time with the square of the names
    require(input.size() > small || names == namesOneByOne(input), "names are added as if one by one");
    scanner.main();
    const auto again = owner.names.snapshot();
    require(again.size() >= names.size(), "a scan takes nothing away");
    // The printed form escapes quotes and backslashes, and the probe has blanks for dashes.
    for (std::size_t index = names.size(); index < again.size(); ++index)
        require(again[index].find_first_of("-\"\\") != std::string::npos, "a plain name comes once");
}

void readHostFile(std::string_view input) {
    CannedTool tool { {} };
    const auto environment = world().environment(tool);
    Owner owner;
    HostFileScanner scanner(environment);
    scanner.setHosts(&owner.names);

    scanner.appendNamesOf(input);
    auto names = owner.names.snapshot();
    for (const auto& name : names) {
        require(
            !name.empty() && name.find_first_of(" \t") == std::string::npos && !hasLineEnd(name), "a name is one word");
        require(!Globals::isIPAddress(name), "an address is no name");
        require(!contains(name, "localhost") && !contains(name, "broadcasthost"), "the computer itself is no host");
    }
    scanner.appendNamesOf(input);
    const auto once = names;
    names.insert(names.end(), once.begin(), once.end());
    require(owner.names.snapshot() == names, "a second scan doubles the names");
}

} // namespace quorrel::fuzz
