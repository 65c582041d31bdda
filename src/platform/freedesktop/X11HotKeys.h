#pragma once

#include "platform/HotKeys.h"
#include "platform/freedesktop/X11Keyboard.h"
#include "platform/freedesktop/x11/X11Windows.h"

#include <set>
#include <utility>

#include <xcb/xinput.h>

namespace cobblet {

/// Hot keys as grabs of physical keys, one for each state of the lock keys. Each combination is grabbed twice, as
/// the server's core and as its input extension know grabs: neither sees a conflict in the other's, and programs
/// use both. The presses arrive through the extension, which tells a held key's repetitions apart.
class X11HotKeys : public HotKeys {
    Q_OBJECT
public:
    /// `windows` outlives this object.
    explicit X11HotKeys(X11Windows &windows);

    /// Two round trips for all of them.
    std::vector<Result<Handle>> registerAll(const QList<HotKey> &keys) override;
    Availability availability() const override
    {
        return m_unavailable.isEmpty()
                   ? Availability::works(QStringLiteral("The X server hands key combinations on."))
                   : Availability::unavailable(m_unavailable);
    }
    QString trigger(const HotKeyID &) const override { return {}; }

private:
    /// One grab: a key's code and the exact modifiers.
    using Grab = std::pair<xcb_keycode_t, uint16_t>;
    /// Requests on their way.
    struct Request {
        std::vector<xcb_void_cookie_t> core;
        xcb_input_xi_passive_grab_device_cookie_t extension{};
    };

    bool findExtensions();
    void readKeyboard();
    void regrab(const X11Keyboard &keyboard);
    std::vector<Grab> grabsFor(const HotKey &key, const X11Keyboard &keyboard) const;
    Request request(const std::vector<Grab> &grabs);
    bool succeeded(const Request &request);
    void release(const std::vector<Grab> &grabs);
    void unregister(const HotKeyID &id) override;
    void handle(const xcb_generic_event_t *event);
    void handlePress(const xcb_input_key_press_event_t &press);

    X11Windows &m_windows;
    X11Connection &m_x11;
    QString m_unavailable;
    uint8_t m_inputOpcode = 0;
    uint8_t m_keyboardEvent = 0; ///< of the extension that knows names; 0 without it
    bool m_knowsNames = false;
    X11Keyboard m_keyboard;
    bool m_reading = false;
    bool m_readAgain = false;
    std::vector<HotKey> m_keys; ///< those that are registered
};

} // namespace cobblet
