// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/StatusBar.h"

namespace quorrel {

class ActionTarget;
class ImageLoader;
class TrayHostWatch;

/// The desktop's tray by way of Qt. Main thread. It must outlive its items.
class QtStatusBar final : public StatusBar {
public:
    /// All of it must outlive the object. Somebody else starts the watch.
    QtStatusBar(TrayHostWatch& hosts, ActionTarget& actions, const ImageLoader& images);

    /// Trays decide themselves how much room an item gets, so the length has no effect.
    [[nodiscard]] std::unique_ptr<StatusItem> statusItemWithLength(double length) override;

    /// Makes the next item now, with that image and an empty menu: some trays never ask again for a menu that comes
    /// later.
    void prepareItem(const Image& image);

private:
    TrayHostWatch& m_hosts;
    ActionTarget& m_actions;
    const ImageLoader& m_images;
    std::unique_ptr<StatusItem> m_prepared;
};

} // namespace quorrel
