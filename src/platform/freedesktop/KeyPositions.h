#pragma once

#include <span>

#include <xcb/xproto.h>

namespace cobblet {

/// A key by its place on the keyboard.
struct KeyPosition {
    int virtualKey;          ///< its code on an ANSI keyboard
    char name[5];            ///< what XKB calls the place
    xcb_keycode_t usualCode; ///< its code on nearly every X server
};

/// The places that hot keys may have: the digits of the top row.
std::span<const KeyPosition> keyPositions();
/// Null for a key that is not among them.
const KeyPosition *keyPosition(int virtualKey);

} // namespace cobblet
