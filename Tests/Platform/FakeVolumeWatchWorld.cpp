// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Fakes/FakeVolumeWatch.h"
#include "Tests/Platform/VolumeWatchWorld.h"

#include <map>

namespace quorrel {
namespace {

class FakeVolumeWatchWorld final : public VolumeWatchWorld {
public:
    VolumeWatch& watch() override { return m_watch; }
    bool mount(int number) override {
        const auto name = nameOf(number);
        return m_numbers
            .try_emplace(number, m_watch.appear({ name, "smbfs", "file:///net/files/" + name, true, "files" }))
            .second;
    }
    bool unmount(int number) override {
        const auto volume = m_numbers.extract(number);
        if (!volume)
            return false;
        m_watch.disappear(volume.mapped());
        return true;
    }
    std::string nameOf(int number) const override { return "share" + std::to_string(number); }
    bool runUntil(const std::function<bool()>& condition, Seconds) override {
        constexpr int turns = 10;
        for (int turn = 0; turn < turns && !condition(); ++turn)
            m_watch.runPending();
        return condition();
    }

private:
    FakeVolumeWatch m_watch;
    std::map<int, int> m_numbers;
};

} // namespace

std::unique_ptr<VolumeWatchWorld> VolumeWatchWorld::make() {
    return std::make_unique<FakeVolumeWatchWorld>();
}

} // namespace quorrel
