// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/MainThreadQueue.h"
#include "Foundation/NotificationCenter.h"
#include "Sources/DiscoveryEnvironment.h"
#include "Tests/Fakes/FakeDNSServiceDiscovery.h"
#include "Tests/Fakes/FakeNetworkReachability.h"
#include "Tests/Fakes/FakeRunLoop.h"
#include "Tests/Fakes/FakeVolumeWatch.h"
#include "Tests/Sources/CatalogueFixture.h"
#include "Tests/Sources/LookupFixture.h"

namespace quorrel {

/// A network and a computer that are made up, a catalogue, and a log that is on.
class WatchFixture : public LookupFixture {
protected:
    FakeDNSServiceDiscovery discovery;
    FakeVolumeWatch volumes;
    FakeNetworkReachability network;
    MainThreadQueue queue;
    FakeRunLoop runLoop { queue };
    FakeWorkspace workspace;
    NotificationCenter center;
    DiscoveryEnvironment environment { discovery, volumes, network, runLoop, childProcess, workspace, center, log };
};

} // namespace quorrel
