#include "platform/freedesktop/X11HotKeys.h"

#include "platform/portable/KeyCombination.h"

#include "platform/freedesktop/Xkb.h"

#include <QLoggingCategory>

#include <utility>

namespace cobblet {

Q_LOGGING_CATEGORY(lcHotKeys, "cobblet.hotkeys")

namespace {

constexpr uint16_t keyboardChanges =
    XCB_XKB_EVENT_TYPE_NEW_KEYBOARD_NOTIFY | XCB_XKB_EVENT_TYPE_MAP_NOTIFY | XCB_XKB_EVENT_TYPE_NAMES_NOTIFY;
constexpr uint16_t mapChanges = XCB_XKB_MAP_PART_KEY_SYMS | XCB_XKB_MAP_PART_MODIFIER_MAP;

} // namespace

X11HotKeys::X11HotKeys(X11Windows &windows) : m_windows(windows), m_x11(windows.x11())
{
    xcb_prefetch_extension_data(m_x11.xcb(), &xcb_xkb_id);
    xcb_prefetch_extension_data(m_x11.xcb(), &xcb_input_id);
    connect(&m_x11, &X11Connection::eventArrived, this, &X11HotKeys::handle);
}

/// Names the extensions to the server, which answers nothing to a client that has not.
bool X11HotKeys::findExtensions()
{
    xcb_connection_t *xcb = m_x11.xcb();
    const auto *names = xcb_get_extension_data(xcb, &xcb_xkb_id);
    const auto *input = xcb_get_extension_data(xcb, &xcb_input_id);
    if (!input || !input->present)
        return false;
    m_inputOpcode = input->major_opcode;
    xcb_discard_reply(xcb, xcb_input_xi_query_version(xcb, 2, 0).sequence);
    m_knowsNames = names && names->present;
    if (m_knowsNames) {
        m_keyboardEvent = names->first_event;
        xcb_discard_reply(xcb, xcb_xkb_use_extension(xcb, 1, 0).sequence);
        // A client that has named this extension gets these in place of MappingNotify.
        xcb_xkb_select_events(xcb, XCB_XKB_ID_USE_CORE_KBD, keyboardChanges, 0, keyboardChanges, mapChanges,
                              mapChanges, nullptr);
    }
    return true;
}

std::vector<Result<HotKeys::Handle>> X11HotKeys::registerAll(const QList<HotKey> &keys)
{
    std::vector<Result<Handle>> results;
    if (!findExtensions()) {
        m_unavailable = QStringLiteral("This X server lacks the input extension that hot keys need.");
        qCWarning(lcHotKeys).noquote() << m_unavailable;
        for (qsizetype i = 0; i < keys.size(); ++i)
            results.emplace_back(Error{m_unavailable});
        return results;
    }
    readKeyboard();
    m_x11.awaitReplies();

    std::vector<Request> requests;
    for (const HotKey &key : keys)
        requests.push_back(request(grabsFor(key, m_keyboard)));
    for (qsizetype i = 0; i < keys.size(); ++i) {
        const HotKey &key = keys[i];
        if (succeeded(requests[size_t(i)])) {
            m_keys.push_back(key);
            results.emplace_back(std::make_unique<Registration>(this, key.id));
            continue;
        }
        release(grabsFor(key, m_keyboard));
        const Error refusal{QStringLiteral("%1 is already used by another program: quit that program or change its "
                                           "shortcut, and start Cobblet again.")
                                .arg(combinationText(key))};
        qCWarning(lcHotKeys).noquote() << refusal.message;
        results.emplace_back(refusal);
    }
    m_x11.drainSoon();
    return results;
}

/// Reads the keyboard and grabs what has moved, without waiting and once for a burst of changes.
void X11HotKeys::readKeyboard()
{
    if (std::exchange(m_reading, true)) {
        m_readAgain = true;
        return;
    }
    X11Keyboard::read(m_x11, m_knowsNames, this, [this](const X11Keyboard &keyboard) {
        m_reading = false;
        if (std::exchange(m_readAgain, false))
            readKeyboard();
        else
            regrab(keyboard);
    });
}

/// Grabs what is new before it releases what is old, so that no press falls between. Layouts mostly change what
/// keys type and not which keys there are: then nothing is to be done.
void X11HotKeys::regrab(const X11Keyboard &keyboard)
{
    if (keyboard == m_keyboard)
        return;
    std::set<Grab> kept;
    for (const HotKey &key : m_keys) {
        const std::vector<Grab> grabs = grabsFor(key, keyboard);
        const Request sent = request(grabs);
        for (const xcb_void_cookie_t core : sent.core)
            xcb_discard_reply(m_x11.xcb(), core.sequence);
        if (!grabs.empty())
            xcb_discard_reply(m_x11.xcb(), sent.extension.sequence);
        kept.insert(grabs.begin(), grabs.end());
    }
    for (const HotKey &key : m_keys) {
        std::vector<Grab> dropped = grabsFor(key, m_keyboard);
        std::erase_if(dropped, [&kept](const Grab &grab) { return kept.contains(grab); });
        release(dropped);
    }
    m_keyboard = keyboard;
    m_x11.flush();
}

std::vector<X11HotKeys::Grab> X11HotKeys::grabsFor(const HotKey &key, const X11Keyboard &keyboard) const
{
    const xcb_keycode_t code = keyboard.code(key.keyCode);
    std::set<Grab> grabs;
    if (code != 0)
        for (const uint16_t locks : keyboard.lockStates())
            grabs.emplace(code, keyboard.mask(key.modifiers) | locks);
    return {grabs.begin(), grabs.end()};
}

/// All grabs are of one key.
X11HotKeys::Request X11HotKeys::request(const std::vector<Grab> &grabs)
{
    Request sent;
    if (grabs.empty())
        return sent;
    xcb_connection_t *xcb = m_x11.xcb();
    std::vector<uint32_t> modifiers;
    for (const auto &[code, mask] : grabs) {
        sent.core.push_back(
            xcb_grab_key_checked(xcb, 0, m_x11.root(), mask, code, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
        modifiers.push_back(mask);
    }
    // After the core's, since the newest grab of a combination is the one that a press activates.
    const uint32_t events = XCB_INPUT_XI_EVENT_MASK_KEY_PRESS;
    sent.extension = xcb_input_xi_passive_grab_device(
        xcb, XCB_CURRENT_TIME, m_x11.root(), XCB_CURSOR_NONE, grabs.front().first, XCB_INPUT_DEVICE_ALL_MASTER,
        uint16_t(modifiers.size()), 1, XCB_INPUT_GRAB_TYPE_KEYCODE, XCB_INPUT_GRAB_MODE_22_ASYNC,
        XCB_INPUT_GRAB_MODE_22_ASYNC, XCB_INPUT_GRAB_OWNER_NO_OWNER, &events, modifiers.data());
    return sent;
}

bool X11HotKeys::succeeded(const Request &request)
{
    if (request.core.empty())
        return false;
    bool all = true;
    for (const xcb_void_cookie_t core : request.core)
        if (const XcbReply<xcb_generic_error_t> error(xcb_request_check(m_x11.xcb(), core)); error)
            all = false;
    const XcbReply<xcb_input_xi_passive_grab_device_reply_t> refused(
        xcb_input_xi_passive_grab_device_reply(m_x11.xcb(), request.extension, nullptr));
    return all && refused && refused->num_modifiers == 0;
}

/// Grabs that this client does not hold are passed over by the server.
void X11HotKeys::release(const std::vector<Grab> &grabs)
{
    for (const auto &[code, mask] : grabs) {
        const uint32_t modifiers = mask;
        xcb_ungrab_key(m_x11.xcb(), code, m_x11.root(), mask);
        xcb_input_xi_passive_ungrab_device(m_x11.xcb(), m_x11.root(), code, XCB_INPUT_DEVICE_ALL_MASTER, 1,
                                           XCB_INPUT_GRAB_TYPE_KEYCODE, &modifiers);
    }
    m_x11.flush();
}

void X11HotKeys::unregister(const HotKeyID &id)
{
    for (const HotKey &key : m_keys)
        if (key.id == id)
            release(grabsFor(key, m_keyboard));
    std::erase_if(m_keys, [&id](const HotKey &key) { return key.id == id; });
}

void X11HotKeys::handle(const xcb_generic_event_t *event)
{
    const uint8_t type = event->response_type & 0x7f;
    const bool isMapping =
        type == XCB_MAPPING_NOTIFY &&
        reinterpret_cast<const xcb_mapping_notify_event_t *>(event)->request != XCB_MAPPING_POINTER;
    if (isMapping || type == m_keyboardEvent) {
        if (!m_keys.empty())
            readKeyboard();
    } else if (type == XCB_GE_GENERIC) {
        const auto *generic = reinterpret_cast<const xcb_ge_generic_event_t *>(event);
        if (generic->extension == m_inputOpcode && generic->event_type == XCB_INPUT_KEY_PRESS)
            handlePress(*reinterpret_cast<const xcb_input_key_press_event_t *>(event));
    }
}

void X11HotKeys::handlePress(const xcb_input_key_press_event_t &press)
{
    // The grab would hold the keyboard until the key is released; what is typed meanwhile is the panel's.
    xcb_input_xi_ungrab_device(m_x11.xcb(), XCB_CURRENT_TIME, press.deviceid);
    m_x11.flush();
    if (press.flags & XCB_INPUT_KEY_EVENT_FLAGS_KEY_REPEAT)
        return;
    m_windows.noteUserTime(press.time);
    for (const HotKey &key : m_keys) {
        const uint16_t mask = m_keyboard.mask(key.modifiers);
        if (m_keyboard.code(key.keyCode) == press.detail && (press.mods.effective & mask) == mask)
            return emit pressed(key.id);
    }
}

} // namespace cobblet
