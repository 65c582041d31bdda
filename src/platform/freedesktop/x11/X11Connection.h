#pragma once

#include "platform/portable/Releasing.h"

#include <QByteArray>
#include <QHash>
#include <QObject>
#include <QPoint>
#include <QPointer>
#include <QString>

#include <cstdlib>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
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
    std::vector<uint32_t> cardinals(xcb_window_t window, xcb_atom_t name, uint32_t maximum = maximumCardinals);
    /// The same without waiting: `handler` gets them in a later turn of the loop, unless `context` is gone by then.
    void ask(xcb_window_t window, xcb_atom_t name, QObject *context,
             std::function<void(const std::vector<uint32_t> &)> handler);

    /// Sends a client message with up to five numbers to the window that it is about.
    void sendTo(xcb_window_t window, xcb_atom_t type, const std::vector<uint32_t> &data);
    /// Sends one to the root window, as the window-manager standards ask of pagers; on another connection where it
    /// has to stay in order with what that one maps and unmaps.
    void sendToRoot(xcb_window_t window, xcb_atom_t type, const std::vector<uint32_t> &data,
                    xcb_connection_t *on = nullptr);

    /// Sends the request with this sequence number and returns at once; `handler` gets the reply in a later turn
    /// of the loop, or null when the request failed. Dropped when `context` is gone by then.
    void whenReplied(unsigned sequence, QObject *context, std::function<void(const void *reply)> handler);
    /// Waits for all the replies that are still to come, and hands them over.
    void awaitReplies();

    /// Tells who owns a selection (none: XCB_WINDOW_NONE): once the server has answered, and whenever that changes.
    void followOwner(xcb_atom_t selection, QObject *context, std::function<void(xcb_window_t owner)> handler);

    /// The window that has the input focus by the server's own account. Waits for one answer.
    xcb_window_t focus();
    /// Where a window begins on the root window, when the pointer is in it and no other window is between. Waits for
    /// a few answers.
    std::optional<QPoint> originUnderPointer(xcb_window_t window);
    /// The server's clock now, as the times of events count it. Waits for one answer.
    xcb_timestamp_t serverTime();

    /// To be called after reading a reply from xcb() directly: events that arrived with it wait in xcb's own
    /// queue, where the socket no longer announces them. They are handled in the next turn of the loop.
    void drainSoon();

    void flush() { xcb_flush(m_connection); }

signals:
    /// Every event of this connection. Errors of requests that nobody waits for are dropped: foreign windows
    /// vanish at any time.
    void eventArrived(xcb_generic_event_t *event);
    /// The server closed the connection; nothing works any more.
    void broken();

private:
    static constexpr uint32_t maximumCardinals = 4096;

    X11Connection(xcb_connection_t *connection, int screenNumber);
    void drain();
    XcbReply<xcb_generic_event_t> nextEvent();
    enum class Replies { All, Arrived };
    bool deliverReplies(Replies which);

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
    std::deque<Awaited> m_awaited;                      // in the order of the requests
    std::deque<XcbReply<xcb_generic_event_t>> m_events; // read while waiting for the server's time
    xcb_window_t m_clock = XCB_WINDOW_NONE;
    std::unique_ptr<QSocketNotifier> m_notifier;
    bool m_drainQueued = false;
};

} // namespace cobblet
