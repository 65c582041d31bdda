#pragma once

#include "platform/freedesktop/X11Connection.h"

#include <QDBusMessage>

namespace cobblet {

class SessionBus;

/// The tray of this desktop, followed as it comes, goes and is replaced.
struct Tray {
    enum class Kind { None, StatusNotifier, XEmbed };

    Kind kind = Kind::None;
    QString owner;                         ///< of a status notifier's watcher on the session bus
    xcb_window_t window = XCB_WINDOW_NONE; ///< of an XEmbed tray

    friend bool operator==(const Tray &a, const Tray &b) = default;
};

/// Looks for a tray of either kind without waiting for answers. A status notifier is preferred, because trays of
/// that kind show the menu themselves, unless there is only its watcher and nobody who shows the items.
class TrayWatcher : public QObject {
    Q_OBJECT
public:
    /// The connections outlive this object; without an X server, `x11` is null.
    TrayWatcher(X11Connection *x11, SessionBus &bus, QObject *parent = nullptr);
    ~TrayWatcher() override;

    const Tray &tray() const { return m_tray; }

signals:
    /// The tray is another one than before; first sent once it is known whether there is one.
    void changed();

private slots:
    void askNotifier();

private:
    void subscribe(bool on);
    void askHost(const QString &owner, int question);
    void notifierIs(const QString &owner, bool hasHost);
    void askXEmbed();
    void handle(const xcb_generic_event_t *event);
    void decide();

    X11Connection *m_x11;
    SessionBus &m_bus;
    xcb_atom_t m_selection = XCB_ATOM_NONE;
    int m_question = 0; ///< answers to earlier ones no longer count
    bool m_notifierKnown = false;
    QString m_notifierOwner;
    bool m_notifierHasHost = false;
    bool m_xembedKnown = false;
    xcb_window_t m_xembed = XCB_WINDOW_NONE;
    bool m_decided = false;
    bool m_toldNone = false;
    Tray m_tray;
};

} // namespace cobblet
