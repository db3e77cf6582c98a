// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Desktop/RecordListModel.h"
#include "Sources/SharePointDefinition.h"

namespace quorrel {

class ImageLoader;
class StringTable;

/// The share points of a host as the main window lists them.
class SharePointListModel final : public RecordListModel<SharePointDefinition> {
public:
    /// All three must outlive the model.
    SharePointListModel(
        const StringTable& strings, const ImageLoader& images, MainThreadQueue& queue, QObject* parent = nullptr);

    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;

private:
    [[nodiscard]] QString accessibleText(const SharePointDefinition& sharePoint) const;
    [[nodiscard]] QString details(const SharePointDefinition& sharePoint) const;

    const StringTable& m_strings;
    const ImageLoader& m_images;
};

} // namespace quorrel
