// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Desktop/RecordListModel.h"
#include "Sources/HostDefinition.h"

namespace quorrel {

class ImageLoader;

/// The hosts as the main window lists them.
class HostListModel final : public RecordListModel<HostDefinition> {
public:
    /// The loader and the queue must outlive the model.
    HostListModel(const ImageLoader& images, MainThreadQueue& queue, QObject* parent = nullptr);

    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;

private:
    [[nodiscard]] QVariant icon(const HostDefinition& host) const;

    const ImageLoader& m_images;
};

} // namespace quorrel
