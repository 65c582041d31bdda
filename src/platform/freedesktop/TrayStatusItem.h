#pragma once

#include "platform/portable/QtStatusItem.h"

#include <optional>

namespace cobblet {

class SessionBus;
class X11Connection;

/// The toolkit's item, made when there is a tray for it. The toolkit decides once in the life of a process whether it
/// uses a status notifier or an XEmbed tray: not before either is there, and with a status notifier where both are.
/// From then on it follows trays of that kind as they go and come back.
class TrayStatusItem : public QtStatusItem {
    Q_OBJECT
public:
    /// All arguments outlive the item; without an X server, `x11` is null.
    TrayStatusItem(X11Connection *x11, SessionBus &bus, QtMenus &menus, const Appearance &appearance,
                   const QString &iconName);

    Availability availability() const override;
    void show() override;

private slots:
    void lookForNotifier();

private:
    void decide();

    X11Connection *m_x11;
    SessionBus &m_bus;
    // Absent until they are known.
    std::optional<bool> m_hasNotifier; ///< with somebody who shows its items
    std::optional<bool> m_hasXEmbed;
    bool m_isMade = false;
    bool m_saidNone = false;
};

} // namespace cobblet
