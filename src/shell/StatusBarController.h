#pragma once

#include "platform/StatusItem.h"

#include <memory>

namespace cobblet {

class DockTile;
class NotificationCenter;

/// The program's item in the status bar and the three commands of its menu. Main thread only.
class StatusBarController {
public:
    struct Services {
        std::unique_ptr<StatusItem> statusItem;
        NotificationCenter &notifications;
        DockTile &dockTile;
        /// Draws a symbol; a null image for a name without a drawing.
        std::function<QImage(const QString &symbol, const QColor &color, double points, qreal ratio)> symbol;
        /// Asks the application to end.
        std::function<void()> terminate;
    };

    /// `imageFile` is the application's own picture for the item; a symbol stands in for one
    /// that is missing or can't be read.
    StatusBarController(Services services, const QString &imageFile);

    /// Puts the item into the bar.
    void show();
    /// Whether the item can be seen.
    Availability availability() const { return m_services.statusItem->availability(); }

    void showGroups();
    void openSettings();
    void quit();

private:
    void setUp(const QString &imageFile);

    Services m_services;
};

} // namespace cobblet
