// SPDX-License-Identifier: GPL-3.0-or-later
#include "Desktop/HostListModel.h"

#include "Desktop/ImageLoader.h"
#include "Desktop/ShownText.h"

#include <QIcon>

namespace quorrel {

namespace {

QString counts(const HostDefinition& host) {
    return ShownText::line(host.sharesCountString()) + ", " + ShownText::line(host.servicesCountString());
}

} // namespace

HostListModel::HostListModel(const ImageLoader& images, MainThreadQueue& queue, QObject* parent)
    : RecordListModel(queue, parent)
    , m_images(images) { }

QVariant HostListModel::data(const QModelIndex& index, int role) const {
    const auto host = record(index);
    if (!host)
        return {};
    const auto name = ShownText::line(textOf(host->displayName.get()));
    switch (role) {
    case Qt::DisplayRole:
        return name;
    case Qt::DecorationRole:
        return icon(*host);
    case Qt::ToolTipRole:
        return ShownText::toolTip(name);
    case Qt::AccessibleTextRole:
        return QString(name + ", " + counts(*host));
    case RecordRole::details:
        return counts(*host);
    default:
        return {};
    }
}

QVariant HostListModel::icon(const HostDefinition& host) const {
    const auto image = host.icon.get();
    const auto icon = image ? m_images.icon({ image->name, 32 }) : QIcon();
    return icon.isNull() ? QVariant() : QVariant(icon);
}

} // namespace quorrel
