#include "platform/freedesktop/X11Keyboard.h"

#include "platform/HotKeys.h"

#include "platform/freedesktop/Xkb.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace cobblet {

namespace {

constexpr int firstFreeModifier = 3; // Shift, Lock and Control have theirs

namespace keysym {
constexpr xcb_keysym_t altLeft = 0xffe9, altRight = 0xffea;
constexpr xcb_keysym_t superLeft = 0xffeb, superRight = 0xffec;
constexpr xcb_keysym_t numLock = 0xff7f, scrollLock = 0xff14;
} // namespace keysym

} // namespace

X11Keyboard::Questions X11Keyboard::ask(X11Connection &x11, bool knowsNames)
{
    const xcb_setup_t *setup = xcb_get_setup(x11.xcb());
    Questions asked;
    asked.modifiers = xcb_get_modifier_mapping(x11.xcb()).sequence;
    asked.symbols =
        xcb_get_keyboard_mapping(x11.xcb(), setup->min_keycode, uint8_t(setup->max_keycode - setup->min_keycode + 1))
            .sequence;
    if (knowsNames)
        asked.names = xcb_xkb_get_names(x11.xcb(), XCB_XKB_ID_USE_CORE_KBD, XCB_XKB_NAME_DETAIL_KEY_NAMES).sequence;
    return asked;
}

xcb_keycode_t X11Keyboard::firstCode(X11Connection &x11)
{
    return xcb_get_setup(x11.xcb())->min_keycode;
}

void X11Keyboard::takeModifiers(const xcb_get_modifier_mapping_reply_t *reply)
{
    m_modifierKeys.clear();
    if (!reply)
        return;
    const xcb_keycode_t *codes = xcb_get_modifier_mapping_keycodes(reply);
    const int each = reply->keycodes_per_modifier;
    for (int row = firstFreeModifier; row < 8; ++row)
        m_modifierKeys.emplace_back(codes + row * each, codes + (row + 1) * each);
}

void X11Keyboard::takeSymbols(xcb_keycode_t first, const xcb_get_keyboard_mapping_reply_t *reply)
{
    const auto rows = std::exchange(m_modifierKeys, {});
    if (!reply || reply->keysyms_per_keycode == 0)
        return;
    const xcb_keysym_t *symbols = xcb_get_keyboard_mapping_keysyms(reply);
    const int count = xcb_get_keyboard_mapping_keysyms_length(reply);
    const int each = reply->keysyms_per_keycode;
    const auto types = [&](xcb_keycode_t code, std::initializer_list<xcb_keysym_t> wanted) {
        const int at = (int(code) - first) * each;
        return code >= first && at + each <= count &&
               std::any_of(symbols + at, symbols + at + each, [&wanted](xcb_keysym_t symbol) {
                   return std::find(wanted.begin(), wanted.end(), symbol) != wanted.end();
               });
    };
    const auto carrying = [&](std::initializer_list<xcb_keysym_t> wanted) -> uint16_t {
        for (size_t row = 0; row < rows.size(); ++row)
            if (std::any_of(rows[row].begin(), rows[row].end(),
                            [&](xcb_keycode_t code) { return types(code, wanted); }))
                return uint16_t(1u << (firstFreeModifier + row));
        return 0;
    };
    if (const uint16_t option = carrying({keysym::altLeft, keysym::altRight}))
        m_option = option;
    if (const uint16_t command = carrying({keysym::superLeft, keysym::superRight}))
        m_command = command;
    m_locks = XCB_MOD_MASK_LOCK | carrying({keysym::numLock}) | carrying({keysym::scrollLock});
}

void X11Keyboard::takeNames(const void *raw)
{
    const auto *reply = static_cast<const xcb_xkb_get_names_reply_t *>(raw);
    if (!reply || !(reply->which & XCB_XKB_NAME_DETAIL_KEY_NAMES))
        return;
    xcb_xkb_get_names_value_list_t values{};
    xcb_xkb_get_names_value_list_unpack(xcb_xkb_get_names_value_list(reply), reply->nTypes, reply->indicators,
                                        reply->virtualMods, reply->groupNames, reply->nKeys, reply->nKeyAliases,
                                        reply->nRadioGroups, reply->which, &values);
    for (const KeyPosition &position : keyPositions())
        for (int i = 0; i < reply->nKeys; ++i)
            if (std::strncmp(values.keyNames[i].name, position.name, sizeof values.keyNames[i].name) == 0)
                m_codes[position.virtualKey] = xcb_keycode_t(reply->firstKey + i);
}

xcb_keycode_t X11Keyboard::code(const KeyPosition &position) const
{
    if (m_codes.empty())
        return position.usualCode;
    const auto found = m_codes.find(position.virtualKey);
    return found == m_codes.end() ? xcb_keycode_t(0) : found->second;
}

uint16_t X11Keyboard::mask(quint32 modifiers) const
{
    uint16_t mask = 0;
    if (modifiers & modifier::shift)
        mask |= XCB_MOD_MASK_SHIFT;
    if (modifiers & modifier::control)
        mask |= XCB_MOD_MASK_CONTROL;
    if (modifiers & modifier::option)
        mask |= m_option;
    if (modifiers & modifier::command)
        mask |= m_command;
    return mask;
}

std::vector<uint16_t> X11Keyboard::lockStates() const
{
    std::vector<uint16_t> states;
    for (unsigned state = 0; state <= m_locks; ++state)
        if ((state & ~unsigned(m_locks)) == 0)
            states.push_back(uint16_t(state));
    return states;
}

} // namespace cobblet
