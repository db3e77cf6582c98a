// SPDX-License-Identifier: GPL-3.0-or-later
#include "Desktop/SharePointListModel.h"

#include "Desktop/ImageLoader.h"
#include "Desktop/ShownText.h"
#include "Desktop/StatusMark.h"
#include "Foundation/StringTable.h"
#include "Sources/HostDefinition.h"

#include <QIcon>
#include <QStringList>

namespace quorrel {

namespace {

/// A server that has one share alone may not name it.
QString name(const SharePointDefinition& sharePoint) {
    const auto text = ShownText::line(textOf(sharePoint.sharePoint.get()));
    const auto host = text.isEmpty() ? sharePoint.parentHost.get().lock() : nullptr;
    return host ? ShownText::line(textOf(host->displayName.get())) : text;
}

/// Why the share fails, else where its files are. A volume that another program unmounted leaves its path.
QString explanation(const SharePointDefinition& sharePoint) {
    if (sharePoint.isError.get())
        return ShownText::line(textOf(sharePoint.lastError.get()));
    return sharePoint.mounted.get() ? ShownText::line(textOf(sharePoint.volumePath.get())) : QString();
}

QString status(const SharePointDefinition& sharePoint) {
    return ShownText::line(sharePoint.shownStatus());
}

QString joined(QStringList parts, const QString& separator) {
    parts.removeAll(QString());
    return parts.join(separator);
}

} // namespace

SharePointListModel::SharePointListModel(
    const StringTable& strings, const ImageLoader& images, MainThreadQueue& queue, QObject* parent)
    : RecordListModel(queue, parent)
    , m_strings(strings)
    , m_images(images) { }

QVariant SharePointListModel::data(const QModelIndex& index, int role) const {
    const auto sharePoint = record(index);
    if (!sharePoint)
        return {};
    switch (role) {
    case Qt::DisplayRole:
        return name(*sharePoint);
    case Qt::DecorationRole:
        return m_images.icon({ "drive.png", 32 });
    case Qt::ToolTipRole:
        return ShownText::toolTip(
            joined({ name(*sharePoint), details(*sharePoint), explanation(*sharePoint) }, QStringLiteral("\n")));
    case Qt::AccessibleTextRole:
        return accessibleText(*sharePoint);
    case RecordRole::details:
        return details(*sharePoint);
    case RecordRole::status:
        return status(*sharePoint);
    case RecordRole::mark:
        return static_cast<int>(statusMarkOf(*sharePoint));
    case RecordRole::isFavorite:
        return isSet(sharePoint->favroite.get());
    case RecordRole::explanation:
        return explanation(*sharePoint);
    default:
        return {};
    }
}

QString SharePointListModel::details(const SharePointDefinition& sharePoint) const {
    const auto user = isSet(sharePoint.guestLogin.get()) ? m_strings.text("Guest") : textOf(sharePoint.userName.get());
    return joined(
        { ShownText::line(user), ShownText::line(textOf(sharePoint.displayType.get())) }, QStringLiteral(" · "));
}

QString SharePointListModel::accessibleText(const SharePointDefinition& sharePoint) const {
    const bool isFavorite = isSet(sharePoint.favroite.get());
    return joined({ name(sharePoint), status(sharePoint), explanation(sharePoint), details(sharePoint),
                      isFavorite ? ShownText::line(m_strings.text("Favorite")) : QString() },
        QStringLiteral(", "));
}

} // namespace quorrel
