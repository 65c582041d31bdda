#pragma once

#include "platform/portable/QtStatusItem.h"

#include <memory>

namespace cobblet {

class SessionBus;
class TrayWatcher;
class X11Connection;
class XEmbedIcon;

/// The status item in whichever tray there is, once: the toolkit's where a status notifier runs, an embedded window
/// where only the older kind does. It moves when the tray is replaced and comes back when it is started again.
class TrayStatusItem : public QObject, public StatusItem {
    Q_OBJECT
public:
    /// All arguments outlive the item; without an X server, `x11` is null.
    TrayStatusItem(X11Connection *x11, SessionBus &bus, QtMenus &menus, const Appearance &appearance,
                   const QString &iconName);
    ~TrayStatusItem() override;

    void setImage(Template image, const QString &accessibilityDescription) override;
    void setMenu(const QList<MenuItem> &items) override;
    void show() override;

private:
    void follow();
    void embed();

    X11Connection *m_x11;
    SessionBus &m_bus;
    const Appearance &m_appearance;
    QtStatusItem m_toolkit;
    std::unique_ptr<TrayWatcher> m_watcher;
    std::unique_ptr<XEmbedIcon> m_icon;
};

} // namespace cobblet
