#include "Display.h"

#include "Clock.h"
#include "Failure.h"

#include <X11/keysym.h>
#include <xcb/xtest.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <set>
#include <sstream>
#include <utility>

#include <poll.h>

namespace panelwatch {

namespace {

template<typename T>
using Reply = std::unique_ptr<T, decltype(&std::free)>;

template<typename T>
Reply<T> owned(T *reply)
{
    return Reply<T>(reply, &std::free);
}

xcb_keysym_t keysymOf(const std::string &name)
{
    static const std::map<std::string, xcb_keysym_t> names = {
        {"Alt", XK_Alt_L},     {"Ctrl", XK_Control_L}, {"Shift", XK_Shift_L}, {"Super", XK_Super_L},
        {"Escape", XK_Escape}, {"Return", XK_Return},  {"space", XK_space},   {"Tab", XK_Tab},
        {"F2", XK_F2},         {"Up", XK_Up},          {"Down", XK_Down},
    };
    if (const auto found = names.find(name); found != names.end())
        return found->second;
    // Latin letters and digits are their own key symbols.
    if (name.size() == 1 && std::isalnum(static_cast<unsigned char>(name[0])))
        return xcb_keysym_t(name[0]);
    throw Failure("there is no key \"" + name + "\"");
}

constexpr int smallest = 32; // points; below this a window is a helper and no panel

} // namespace

bool Picture::hasColours(size_t wanted) const
{
    std::set<uint32_t> colours;
    for (size_t i = 0; i < pixels.size(); ++i)
        if ((i == 0 || pixels[i] != pixels[i - 1]) && colours.insert(pixels[i]).second && colours.size() >= wanted)
            return true;
    return false;
}

Display::Display(const std::string &classPattern) : m_pattern(classPattern)
{
    int screenNumber = 0;
    m_connection = xcb_connect(nullptr, &screenNumber);
    if (xcb_connection_has_error(m_connection) != 0)
        throw Failure("the X display cannot be opened");
    m_screen = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data;
    m_symbols.reset(xcb_key_symbols_alloc(m_connection));

    const auto *damage = xcb_get_extension_data(m_connection, &xcb_damage_id);
    const auto *test = xcb_get_extension_data(m_connection, &xcb_test_id);
    if (!damage || !damage->present || !test || !test->present)
        throw Failure("the X server lacks the DAMAGE or the XTEST extension");
    m_damageEvent = uint8_t(damage->first_event + XCB_DAMAGE_NOTIFY);
    owned(xcb_damage_query_version_reply(m_connection, xcb_damage_query_version(m_connection, 1, 1), nullptr));

    const uint32_t wanted = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
    xcb_change_window_attributes(m_connection, m_screen->root, XCB_CW_EVENT_MASK, &wanted);
    watchTree(m_screen->root, 3);
    xcb_flush(m_connection);
}

Display::~Display()
{
    m_symbols.reset();
    xcb_disconnect(m_connection);
}

// Drawing is reported from the window's creation on, so that what is drawn right after it is mapped is not missed.
void Display::watch(xcb_window_t window)
{
    if (m_watched.contains(window))
        return;
    const auto attributes = owned(
        xcb_get_window_attributes_reply(m_connection, xcb_get_window_attributes(m_connection, window), nullptr));
    if (!attributes || attributes->_class != XCB_WINDOW_CLASS_INPUT_OUTPUT)
        return;
    const uint32_t wanted = XCB_EVENT_MASK_STRUCTURE_NOTIFY | XCB_EVENT_MASK_FOCUS_CHANGE;
    xcb_change_window_attributes(m_connection, window, XCB_CW_EVENT_MASK, &wanted);
    xcb_damage_create(m_connection, xcb_generate_id(m_connection), window, XCB_DAMAGE_REPORT_LEVEL_RAW_RECTANGLES);
    xcb_flush(m_connection);
    const bool isMapped = attributes->map_state == XCB_MAP_STATE_VIEWABLE;
    m_watched[window] = Watched{.isMapped = isMapped, .isPanel = isMapped && isPanel(window)};
}

// The windows that are there already, also those inside the frames of a window manager.
void Display::watchTree(xcb_window_t parent, int depth)
{
    const auto tree = owned(xcb_query_tree_reply(m_connection, xcb_query_tree(m_connection, parent), nullptr));
    if (!tree)
        return;
    for (int i = 0; i < xcb_query_tree_children_length(tree.get()); ++i) {
        const xcb_window_t window = xcb_query_tree_children(tree.get())[i];
        if (!className(window).empty())
            watch(window);
        else if (depth > 0)
            watchTree(window, depth - 1);
    }
}

std::string Display::className(xcb_window_t window) const
{
    const auto property = owned(xcb_get_property_reply(
        m_connection, xcb_get_property(m_connection, 0, window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 0, 64), nullptr));
    if (!property)
        return {};
    std::string name(static_cast<const char *>(xcb_get_property_value(property.get())),
                     size_t(xcb_get_property_value_length(property.get())));
    std::replace(name.begin(), name.end(), '\0', '.');
    return name;
}

bool Display::isPanel(xcb_window_t window) const
{
    const std::string name = className(window);
    if (name.empty() || !std::regex_search(name, m_pattern))
        return false;
    const auto geometry =
        owned(xcb_get_geometry_reply(m_connection, xcb_get_geometry(m_connection, window), nullptr));
    return geometry && geometry->width >= smallest && geometry->height >= smallest;
}

xcb_window_t Display::shown() const
{
    for (const auto &[window, state] : m_watched)
        if (state.isMapped && state.isPanel)
            return window;
    return XCB_NONE;
}

std::optional<Display::Watched> Display::watched(xcb_window_t window) const
{
    const auto found = m_watched.find(window);
    return found == m_watched.end() ? std::nullopt : std::optional(found->second);
}

void Display::forgetDrawing()
{
    for (auto &[window, state] : m_watched)
        state = Watched{.isMapped = state.isMapped,
                        .isPanel = state.isPanel,
                        .hasFocus = state.hasFocus,
                        .mappedAt = state.mappedAt};
}

void Display::handle(const xcb_generic_event_t &event, double time)
{
    const uint8_t type = event.response_type & 0x7f;
    if (type == m_damageEvent) {
        const auto &damage = reinterpret_cast<const xcb_damage_notify_event_t &>(event);
        const auto found = m_watched.find(damage.drawable);
        if (found == m_watched.end())
            return;
        Watched &state = found->second;
        if (state.firstDrawn == 0) {
            state.firstDrawn = time;
            state.left = state.top = std::numeric_limits<int>::max();
            state.right = state.bottom = 0;
        }
        state.lastDrawn = time;
        state.left = std::min<int>(state.left, damage.area.x);
        state.top = std::min<int>(state.top, damage.area.y);
        state.right = std::max<int>(state.right, damage.area.x + damage.area.width);
        state.bottom = std::max<int>(state.bottom, damage.area.y + damage.area.height);
    } else if (type == XCB_CREATE_NOTIFY) {
        const auto &created = reinterpret_cast<const xcb_create_notify_event_t &>(event);
        if (created.parent == m_screen->root)
            watch(created.window);
    } else if (type == XCB_MAP_NOTIFY) {
        const auto &mapped = reinterpret_cast<const xcb_map_notify_event_t &>(event);
        if (const auto found = m_watched.find(mapped.window); found != m_watched.end() && !found->second.isMapped) {
            found->second.isMapped = true;
            found->second.mappedAt = time;
            found->second.isPanel = isPanel(mapped.window);
        }
    } else if (type == XCB_UNMAP_NOTIFY) {
        const auto &unmapped = reinterpret_cast<const xcb_unmap_notify_event_t &>(event);
        if (const auto found = m_watched.find(unmapped.window); found != m_watched.end())
            found->second.isMapped = false;
    } else if (type == XCB_FOCUS_IN || type == XCB_FOCUS_OUT) {
        const auto &focus = reinterpret_cast<const xcb_focus_in_event_t &>(event);
        if (const auto found = m_watched.find(focus.event); found != m_watched.end())
            found->second.hasFocus = type == XCB_FOCUS_IN;
    } else if (type == XCB_DESTROY_NOTIFY) {
        m_watched.erase(reinterpret_cast<const xcb_destroy_notify_event_t &>(event).window);
    }
}

bool Display::waitUntil(const std::function<bool()> &done, double timeout)
{
    const double end = now() + timeout;
    xcb_flush(m_connection);
    for (;;) {
        while (const auto event = owned(xcb_poll_for_event(m_connection)))
            handle(*event, now());
        if (xcb_connection_has_error(m_connection) != 0)
            throw Failure("the X server is gone");
        if (done())
            return true;
        // done() may have spoken to the server, and events may have come in with its answers.
        if (const auto event = owned(xcb_poll_for_queued_event(m_connection))) {
            handle(*event, now());
            continue;
        }
        const double left = end - now();
        if (left <= 0)
            return false;
        pollfd readable{xcb_get_file_descriptor(m_connection), POLLIN, 0};
        ::poll(&readable, 1, int(std::ceil(left)));
    }
}

Picture Display::picture(xcb_window_t window, bool onlyDrawn) const
{
    const auto geometryCookie = xcb_get_geometry(m_connection, window);
    const auto originCookie = xcb_translate_coordinates(m_connection, window, m_screen->root, 0, 0);
    const auto geometry = owned(xcb_get_geometry_reply(m_connection, geometryCookie, nullptr));
    const auto origin = owned(xcb_translate_coordinates_reply(m_connection, originCookie, nullptr));
    const auto state = watched(window);
    if (!geometry || !origin || !state || !state->isMapped)
        return {};
    // The server answers only for pixels that are on the screen.
    int left = std::max(0, -origin->dst_x);
    int top = std::max(0, -origin->dst_y);
    int right = std::min<int>(geometry->width, m_screen->width_in_pixels - origin->dst_x);
    int bottom = std::min<int>(geometry->height, m_screen->height_in_pixels - origin->dst_y);
    if (onlyDrawn) {
        left = std::max(left, state->left);
        top = std::max(top, state->top);
        right = std::min(right, state->right);
        bottom = std::min(bottom, state->bottom);
    }
    if (left >= right || top >= bottom)
        return {};
    const auto image =
        owned(xcb_get_image_reply(m_connection,
                                  xcb_get_image(m_connection, XCB_IMAGE_FORMAT_Z_PIXMAP, window, int16_t(left),
                                                int16_t(top), uint16_t(right - left), uint16_t(bottom - top), ~0U),
                                  nullptr));
    Picture picture{.width = right - left, .height = bottom - top, .pixels = {}};
    const size_t count = size_t(picture.width) * size_t(picture.height);
    if (!image || size_t(xcb_get_image_data_length(image.get())) < count * sizeof(uint32_t))
        return {};
    picture.pixels.resize(count);
    std::memcpy(picture.pixels.data(), xcb_get_image_data(image.get()), count * sizeof(uint32_t));
    for (uint32_t &pixel : picture.pixels)
        pixel &= 0xffffff;
    return picture;
}

std::vector<Display::KeyCode> Display::keysOf(const std::string &chord) const
{
    std::vector<KeyCode> keys;
    std::istringstream names(chord);
    for (std::string name; std::getline(names, name, '+');) {
        const auto codes = owned(xcb_key_symbols_get_keycode(m_symbols.get(), keysymOf(name)));
        if (!codes || codes.get()[0] == XCB_NO_SYMBOL)
            throw Failure("the keyboard has no key for \"" + name + "\"");
        keys.push_back(codes.get()[0]);
    }
    if (keys.empty())
        throw Failure("an empty chord of keys");
    return keys;
}

double Display::press(const std::vector<KeyCode> &keys)
{
    const auto fake = [this](uint8_t type, KeyCode key) {
        xcb_test_fake_input(m_connection, type, key, XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
    };
    for (size_t i = 0; i + 1 < keys.size(); ++i)
        fake(XCB_KEY_PRESS, keys[i]);
    // The modifiers are down before the clock starts.
    owned(xcb_get_input_focus_reply(m_connection, xcb_get_input_focus(m_connection), nullptr));
    const double pressed = now();
    fake(XCB_KEY_PRESS, keys.back());
    for (auto key = keys.rbegin(); key != keys.rend(); ++key)
        fake(XCB_KEY_RELEASE, *key);
    xcb_flush(m_connection);
    return pressed;
}

} // namespace panelwatch
