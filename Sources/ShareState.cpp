// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/ShareState.h"

#include "Sources/SharePointDefinition.h"

namespace quorrel {

ShareState::Kind ShareState::of(const SharePointDefinition& sharePoint) {
    if (sharePoint.unmounting.get())
        return Kind::Unmounting;
    // While its script runs it is being mounted still, and mounted as well.
    if (sharePoint.mounted.get())
        return Kind::Mounted;
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
