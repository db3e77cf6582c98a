// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/UnmountOperation.h"

#include "Sources/HostDefinition.h"
#include "Sources/SharePointDefinition.h"
#include "Sources/VolumeErrors.h"

#include <utility>

namespace quorrel {

std::shared_ptr<UnmountOperation> UnmountOperation::initWithSharePointDefinition(
    std::shared_ptr<SharePointDefinition> sharePoint, MountEnvironment& environment) {
    return std::make_shared<UnmountOperation>(std::move(sharePoint), environment);
}

UnmountOperation::UnmountOperation(std::shared_ptr<SharePointDefinition> sharePoint, MountEnvironment& environment)
    : m_mount(std::move(sharePoint))
    , m_environment(environment) { }

void UnmountOperation::main() {
    if (m_mount && !m_mount->unmounting.get()) {
        m_mount->setUnmounting(true);
        m_mount->setLastError(std::nullopt);
        unmount();
    }
    const auto host = m_mount ? m_mount->parentHost.get().lock() : nullptr;
    m_environment.log.line("Unmount operation Finished for :Host:%@ Mount:%@",
        { host ? textOf(host->displayName.get()) : "", m_mount ? textOf(m_mount->sharePoint.get()) : "" });
}

void UnmountOperation::unmount() {
    if (isCancelled())
        return;
    const auto reference = m_mount ? m_mount->referenceNumber.get().value_or(0) : 0;
    const auto status = m_environment.volumes.unmountVolume(static_cast<std::int16_t>(reference));
    const auto name = m_mount ? textOf(m_mount->sharePoint.get()) : std::string();
    if (status == VolumeStatus::success) {
        m_environment.log.line("unmounted of %@ successful", { name });
    } else {
        m_environment.log.line("unmounted of %@ failed error= %i", { name, std::to_string(status) });
        if (isCancelled())
            return;
    }
    if (!m_mount)
        return;
    const auto known = unmountErrorText(status);
    if (status != VolumeStatus::success)
        m_mount->setLastError(m_environment.strings.text(known.value_or(seeLogForError)));
    // A failure that says what stands in the way leaves the volume mounted; after any other there is no telling, and
    // a reference that stands for nothing would be in the way for ever.
    if (!known) {
        m_mount->setVolume(std::nullopt);
        m_mount->setUnmounting(false);
        m_mount->setMounted(false);
    }
    m_mount->setUnmounting(false);
}

} // namespace quorrel
