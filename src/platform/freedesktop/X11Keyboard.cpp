#include "platform/freedesktop/X11Keyboard.h"

#include "platform/HotKeys.h"

#include "platform/freedesktop/Xkb.h"

#include <algorithm>
#include <cstring>
#include <memory>

namespace cobblet {

namespace {

/// A key by its place on the keyboard.
struct KeyPosition {
    int virtualKey;
    char name[5];            ///< what XKB calls the place
    xcb_keycode_t usualCode; ///< its code on nearly every X server
};
constexpr KeyPosition digits[] = {
    {18, "AE01", 10}, {19, "AE02", 11}, {20, "AE03", 12}, {21, "AE04", 13}, {23, "AE05", 14},
    {22, "AE06", 15}, {26, "AE07", 16}, {28, "AE08", 17}, {25, "AE09", 18}, {29, "AE10", 19},
};

constexpr int firstFreeModifier = 3; // Shift, Lock and Control have theirs

namespace keysym {
constexpr xcb_keysym_t altLeft = 0xffe9, altRight = 0xffea;
constexpr xcb_keysym_t superLeft = 0xffeb, superRight = 0xffec;
constexpr xcb_keysym_t numLock = 0xff7f, scrollLock = 0xff14;
} // namespace keysym

} // namespace

X11Keyboard::X11Keyboard()
{
    for (const KeyPosition &position : digits)
        m_codes.insert(position.virtualKey, position.usualCode);
}

void X11Keyboard::read(X11Connection &x11, bool knowsNames, QObject *context,
                       std::function<void(const X11Keyboard &)> done)
{
    using Modifiers = xcb_get_modifier_mapping_reply_t;
    xcb_connection_t *xcb = x11.xcb();
    const xcb_setup_t *setup = xcb_get_setup(xcb);
    const auto keyboard = std::make_shared<X11Keyboard>();
    const auto modifiersAsked = xcb_get_modifier_mapping(xcb);
    const auto symbolsAsked =
        xcb_get_keyboard_mapping(xcb, setup->min_keycode, uint8_t(setup->max_keycode - setup->min_keycode + 1));
    // Kept until the symbols are known, in which their codes are looked up.
    const auto modifiers = std::make_shared<QByteArray>();
    x11.whenReplied(modifiersAsked.sequence, context, [modifiers](const void *reply) {
        if (reply)
            *modifiers = {static_cast<const char *>(reply),
                          qsizetype(sizeof(Modifiers)) +
                              xcb_get_modifier_mapping_keycodes_length(static_cast<const Modifiers *>(reply))};
    });
    x11.whenReplied(symbolsAsked.sequence, context, [=](const void *reply) {
        if (reply && !modifiers->isEmpty())
            keyboard->takeSymbols(setup, reinterpret_cast<const Modifiers *>(modifiers->constData()),
                                  static_cast<const xcb_get_keyboard_mapping_reply_t *>(reply));
        if (!knowsNames)
            done(*keyboard);
    });
    if (knowsNames)
        x11.whenReplied(xcb_xkb_get_names(xcb, XCB_XKB_ID_USE_CORE_KBD, XCB_XKB_NAME_DETAIL_KEY_NAMES).sequence,
                        context, [keyboard, done](const void *reply) {
                            keyboard->takeNames(reply);
                            done(*keyboard);
                        });
}

void X11Keyboard::takeSymbols(const xcb_setup_t *setup, const xcb_get_modifier_mapping_reply_t *modifiers,
                              const xcb_get_keyboard_mapping_reply_t *symbols)
{
    const xcb_keysym_t *typed = xcb_get_keyboard_mapping_keysyms(symbols);
    const int count = xcb_get_keyboard_mapping_keysyms_length(symbols);
    const int each = symbols->keysyms_per_keycode;
    const xcb_keycode_t *codes = xcb_get_modifier_mapping_keycodes(modifiers);
    const int perModifier = modifiers->keycodes_per_modifier;
    // The bit of the first free modifier with a key that types one of these symbols; 0 without one.
    const auto carrying = [&](std::initializer_list<xcb_keysym_t> wanted) -> uint16_t {
        for (int row = firstFreeModifier; row < 8; ++row)
            for (int i = row * perModifier; i < (row + 1) * perModifier; ++i) {
                const int at = (codes[i] - setup->min_keycode) * each;
                if (codes[i] >= setup->min_keycode && at + each <= count &&
                    std::find_first_of(typed + at, typed + at + each, wanted.begin(), wanted.end()) !=
                        typed + at + each)
                    return uint16_t(1u << row);
            }
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
    QHash<int, xcb_keycode_t> codes;
    for (const KeyPosition &position : digits)
        for (int i = 0; i < reply->nKeys; ++i)
            if (std::strncmp(values.keyNames[i].name, position.name, sizeof values.keyNames[i].name) == 0)
                codes.insert(position.virtualKey, xcb_keycode_t(reply->firstKey + i));
    if (!codes.isEmpty())
        m_codes = codes;
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
