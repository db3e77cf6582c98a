// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/ShareState.h"

#include "Sources/SharePointDefinition.h"

namespace quorrel {

ShareState::Kind ShareState::of(const SharePointDefinition& sharePoint) {
    // Both flags stand while one is over already: when its script runs, and when the volume has gone but the unmount
    // has not returned.
    if (sharePoint.mounted.get())
        return sharePoint.unmounting.get() ? Kind::Unmounting : Kind::Mounted;
    if (sharePoint.mounting.get())
        return Kind::Mounting;
    if (sharePoint.resolving.get())
        return Kind::Resolving;
    return sharePoint.isError.get() ? Kind::Failed : Kind::Unmounted;
}

std::string_view ShareState::word(Kind kind) {
    switch (kind) {
    case Kind::Resolving:
        return "resolving";
    case Kind::Mounting:
        return "mounting";
    case Kind::Mounted:
        return "mounted";
    case Kind::Unmounting:
        return "unmounting";
    case Kind::Failed:
        return "failed";
    case Kind::Unmounted:
        break;
    }
    return "unmounted";
}

} // namespace quorrel
