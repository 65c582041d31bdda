#pragma once

#include "platform/freedesktop/KeyPositions.h"
#include "platform/freedesktop/X11Connection.h"

#include <map>
#include <vector>

namespace cobblet {

/// What of the server's keyboard matters for grabbing keys: the codes of places, and the bits of modifiers. It is
/// filled from the server's answers, in the order of the functions.
class X11Keyboard {
public:
    /// The requests whose replies fill a keyboard; `names` is 0 on a server that knows no names.
    struct Questions {
        unsigned modifiers = 0;
        unsigned symbols = 0;
        unsigned names = 0;
    };
    /// Null replies leave what nearly every keyboard has.
    void takeModifiers(const xcb_get_modifier_mapping_reply_t *reply);
    void takeSymbols(xcb_keycode_t first, const xcb_get_keyboard_mapping_reply_t *reply);
    /// `reply` is that of XKB's GetNames for the names of keys.
    void takeNames(const void *reply);

    /// Sends the questions.
    static Questions ask(X11Connection &x11, bool knowsNames);
    /// The first code that ask() asks of.
    static xcb_keycode_t firstCode(X11Connection &x11);

    /// The code of a key's place; 0 for a place that this keyboard lacks.
    xcb_keycode_t code(const KeyPosition &position) const;
    /// A combination's modifiers as the server's mask.
    uint16_t mask(quint32 modifiers) const;
    /// Every state of Caps Lock, Num Lock and Scroll Lock, with none of them first.
    std::vector<uint16_t> lockStates() const;

    bool operator==(const X11Keyboard &other) const
    {
        return m_option == other.m_option && m_command == other.m_command && m_locks == other.m_locks &&
               m_codes == other.m_codes;
    }

private:
    std::vector<std::vector<xcb_keycode_t>> m_modifierKeys; ///< of Mod1 to Mod5; only while it is being filled
    uint16_t m_option = XCB_MOD_MASK_1;
    uint16_t m_command = XCB_MOD_MASK_4;
    uint16_t m_locks = XCB_MOD_MASK_LOCK;
    std::map<int, xcb_keycode_t> m_codes; ///< by virtual key; empty while no names are known
};

} // namespace cobblet
