#pragma once

#include "platform/freedesktop/x11/X11Connection.h"

#include <functional>
#include <vector>

namespace cobblet {

/// What of the server's keyboard matters for grabbing keys: the codes of places, and the bits of modifiers.
class X11Keyboard {
public:
    /// As nearly every keyboard is.
    X11Keyboard();

    /// Reads the keyboard without waiting; what the server does not answer stays as nearly every keyboard has it.
    /// `knowsNames`: the server has the extension that names places. `done` is dropped when `context` is gone by
    /// then.
    static void read(X11Connection &x11, bool knowsNames, QObject *context,
                     std::function<void(const X11Keyboard &)> done);

    /// The code of a digit's place in the top row, by its virtual code on an ANSI keyboard; 0 for any other key, and
    /// for a place that this keyboard lacks.
    xcb_keycode_t code(int virtualKey) const { return m_codes.value(virtualKey); }
    /// A combination's modifiers as the server's mask.
    uint16_t mask(quint32 modifiers) const;
    /// Every state of Caps Lock, Num Lock and Scroll Lock, with none of them first.
    std::vector<uint16_t> lockStates() const;

    bool operator==(const X11Keyboard &other) const = default;

private:
    void takeSymbols(const xcb_setup_t *setup, const xcb_get_modifier_mapping_reply_t *modifiers,
                     const xcb_get_keyboard_mapping_reply_t *symbols);
    void takeNames(const void *reply);

    uint16_t m_option = XCB_MOD_MASK_1;
    uint16_t m_command = XCB_MOD_MASK_4;
    uint16_t m_locks = XCB_MOD_MASK_LOCK;
    QHash<int, xcb_keycode_t> m_codes; ///< by virtual key
};

} // namespace cobblet
