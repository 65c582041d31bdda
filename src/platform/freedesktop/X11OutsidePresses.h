#pragma once

#include "platform/freedesktop/x11/X11Windows.h"

#include <QAbstractNativeEventFilter>
#include <QElapsedTimer>

namespace cobblet {

/// Sees the presses of pointer buttons that move no focus: on docks, on the bare desktop, on a window that has it. It
/// takes them from nobody.
class X11OutsidePresses : public QObject, private QAbstractNativeEventFilter {
    Q_OBJECT
public:
    /// The toolkit's connection, so that a press comes before what the toolkit makes of it. Both outlive the object.
    X11OutsidePresses(X11Windows &windows, xcb_connection_t *toolkit);
    ~X11OutsidePresses() override;

    void listen(bool on);
    /// Whether the user has just pressed a button or a key, or released a key, wherever.
    bool pressedLately() const;
    /// Whether a menu of this program is open, which has the presses for itself.
    static bool menuIsOpen();

signals:
    void pressed();

private:
    bool nativeEventFilter(const QByteArray &type, void *message, qintptr *result) override;
    void lookInto(xcb_window_t window);
    void judge(xcb_window_t client);

    X11Windows &m_windows;
    xcb_connection_t *m_toolkit;
    uint8_t m_inputOpcode = 0; ///< 0 without the extension
    bool m_listens = false;
    QElapsedTimer m_sincePress;
};

} // namespace cobblet
