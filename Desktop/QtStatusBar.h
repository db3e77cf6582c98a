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

private:
    TrayHostWatch& m_hosts;
    ActionTarget& m_actions;
    const ImageLoader& m_images;
};

} // namespace quorrel
