// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Desktop/DesktopEnvironment.h"
#include "Foundation/MainThreadQueue.h"
#include "Foundation/Preferences.h"
#include "Tests/Fakes/FakeActionTarget.h"
#include "Tests/Sources/CatalogueFixture.h"

#include <QtGlobal>
#include <QWidget>

namespace quorrel {

/// What views need of the program, besides records to show.
class DesktopFixture : public CatalogueFixture {
protected:
    using CatalogueFixture::CatalogueFixture;

    /// The one widget of that name and kind below the other.
    template <typename Widget>
    [[nodiscard]] static Widget& named(QWidget& parent, const char* name) {
        const auto found = parent.findChildren<Widget*>(name);
        if (found.size() != 1)
            qFatal("%s: %d of them", name, static_cast<int>(found.size())); // nothing may be thrown through Qt
        return *found.front();
    }

    FakeActionTarget actions;
    Preferences preferences;
    MainThreadQueue mainThreadQueue;
    const DesktopEnvironment environment { actions, strings, preferences, mainThreadQueue };
};

} // namespace quorrel
