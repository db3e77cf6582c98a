// SPDX-License-Identifier: GPL-3.0-or-later
//
// What any tray program costs: an icon, one row in its menu, and nothing else.
#include <QApplication>
#include <QMenu>
#include <QPixmap>
#include <QSystemTrayIcon>

int main(int argumentCount, char** arguments) {
    const QApplication application(argumentCount, arguments);
    QApplication::setQuitOnLastWindowClosed(false);
    QPixmap pixmap(22, 22);
    pixmap.fill(Qt::darkCyan);
    QMenu menu;
    menu.addAction("Quit", &application, &QApplication::quit);
    QSystemTrayIcon icon((QIcon(pixmap)));
    icon.setContextMenu(&menu);
    icon.show();
    return QApplication::exec();
}
