#pragma once

#include "platform/freedesktop/Releasing.h"

#include <QByteArray>
#include <QHash>
#include <QObject>
#include <QPointer>
#include <QString>

#include <cstdlib>
#include <deque>
#include <functional>
#include <memory>
#include <vector>

#include <xcb/xcb.h>

class QSocketNotifier;

namespace cobblet {

/// Owns a reply of the X server.
template<class T>
using XcbReply = std::unique_ptr<T, Releasing<std::free>>;

/// A connection of our own to the X server, beside the toolkit's: the desktop services share it, so that what
/// they watch on the root window and on foreign windows never mixes with the toolkit's events. Main thread.
class X11Connection : public QObject {
    Q_OBJECT
public:
    /// Null, with one log line, when there is no X server to connect to.
    static std::unique_ptr<X11Connection> open();
    ~X11Connection() override;

    xcb_connection_t *xcb() const { return m_connection; }
    xcb_window_t root() const { return m_root; }
    const xcb_screen_t *screen() const { return m_screen; }
    int screenNumber() const { return m_screenNumber; }

    /// Interned once; later calls answer from a table.
    xcb_atom_t atom(const char *name);
    /// Interns many with one round trip.
    void intern(const std::vector<const char *> &names);

    /// Adds to the events that this client selects on a window.
    void select(xcb_window_t window, uint32_t eventMask);
    /// Forgets what was selected on a window that is gone.
    void forget(xcb_window_t window);

    /// The 32-bit values of a property of any type; empty when the window or the property is absent.
    std::vector<uint32_t> cardinals(xcb_window_t window, xcb_atom_t name, uint32_t maximum = 4096)
    {
        return cardinals(askCardinals(window, name, maximum));
    }
    /// The same in two steps: the request, and its reply as it is waited for, or as whenReplied() hands it over.
    xcb_get_property_cookie_t askCardinals(xcb_window_t window, xcb_atom_t name, uint32_t maximum = 4096);
    std::vector<uint32_t> cardinals(xcb_get_property_cookie_t asked);
    static std::vector<uint32_t> cardinalsIn(const void *reply);

    /// Sends a client message with up to five numbers to the window that it is about.
    void sendTo(xcb_window_t window, xcb_atom_t type, const std::vector<uint32_t> &data);
    /// Sends one to the root window, as the window-manager standards ask of pagers.
    void sendToRoot(xcb_window_t window, xcb_atom_t type, const std::vector<uint32_t> &data);
    /// The same on another connection, in order with what that one maps and unmaps; not told by sentToRoot().
    void sendToRootOn(xcb_connection_t *connection, xcb_window_t window, xcb_atom_t type,
                      const std::vector<uint32_t> &data);

    /// Sends the request with this sequence number and returns at once; `handler` gets the reply in a later turn
    /// of the loop, or null when the request failed. Dropped when `context` is gone by then.
    void whenReplied(unsigned sequence, QObject *context, std::function<void(const void *reply)> handler);

    /// To be called after reading a reply from xcb() directly: events that arrived with it wait in xcb's own
    /// queue, where the socket no longer announces them. They are handled in the next turn of the loop.
    void drainSoon();

    void flush() { xcb_flush(m_connection); }

signals:
    /// Every event of this connection. Errors of requests that nobody waits for are dropped: foreign windows
    /// vanish at any time.
    void eventArrived(xcb_generic_event_t *event);
    /// A client message went out through sendToRoot().
    void sentToRoot(xcb_window_t window, xcb_atom_t type);
    /// The server closed the connection; nothing works any more.
    void broken();

private:
    X11Connection(xcb_connection_t *connection, int screenNumber);
    void drain();
    bool deliverReplies();

    struct Awaited {
        unsigned sequence;
        QPointer<QObject> context;
        std::function<void(const void *)> handler;
    };

    xcb_connection_t *m_connection;
    int m_screenNumber;
    const xcb_screen_t *m_screen = nullptr;
    xcb_window_t m_root = XCB_WINDOW_NONE;
    QHash<QByteArray, xcb_atom_t> m_atoms;
    QHash<xcb_window_t, uint32_t> m_selected;
    std::deque<Awaited> m_awaited; // in the order of the requests
    std::unique_ptr<QSocketNotifier> m_notifier;
    bool m_drainQueued = false;
};

} // namespace cobblet
