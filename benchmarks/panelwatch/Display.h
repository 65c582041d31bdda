#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <regex>
#include <string>
#include <vector>

#include <xcb/damage.h>
#include <xcb/xcb.h>
#include <xcb/xcb_keysyms.h>

namespace panelwatch {

/// The pixels of a window, without their alpha.
struct Picture {
    int width = 0;
    int height = 0;
    std::vector<uint32_t> pixels;

    /// Whether at least `wanted` different colours are there.
    bool hasColours(size_t wanted) const;
};

/// Follows the windows of one X display from their creation on, and presses keys. Times are those at which this
/// client receives the server's event.
class Display {
public:
    using KeyCode = xcb_keycode_t;

    /// What has happened to a window. Times are absent (0) until it has happened since forgetDrawing().
    struct Watched {
        bool isMapped = false;
        bool isPanel = false; ///< of the pattern, and large enough; known once it is mapped
        bool hasFocus = false;
        double mappedAt = 0;
        double firstDrawn = 0;
        double lastDrawn = 0;
        int left = 0, top = 0, right = 0, bottom = 0; ///< the box around all that was drawn
    };

    /// `classPattern` is searched in "instance.class" of WM_CLASS.
    explicit Display(const std::string &classPattern);
    ~Display();
    Display(const Display &) = delete;
    Display &operator=(const Display &) = delete;

    /// Handles events until `done`, or for `timeout` ms; answers whether `done` came true.
    bool waitUntil(const std::function<bool()> &done, double timeout);
    void wait(double duration)
    {
        waitUntil([] { return false; }, duration);
    }

    /// A window of the pattern that is on screen, or XCB_NONE.
    xcb_window_t shown() const;
    /// Absent when the window is gone.
    std::optional<Watched> watched(xcb_window_t window) const;
    /// Starts a new round.
    void forgetDrawing();

    /// What the window shows now; with `onlyDrawn`, within the box that was drawn since forgetDrawing(), because
    /// elsewhere a window without a background still shows what lies beneath it. Empty when it cannot be read.
    Picture picture(xcb_window_t window, bool onlyDrawn) const;

    /// The keys of a chord such as "Ctrl+3".
    std::vector<KeyCode> keysOf(const std::string &chord) const;
    /// Presses and lets go; answers the moment before the last key goes down.
    double press(const std::vector<KeyCode> &keys);

private:
    void watch(xcb_window_t window);
    void watchTree(xcb_window_t parent, int depth);
    void handle(const xcb_generic_event_t &event, double time);
    bool isPanel(xcb_window_t window) const;
    std::string className(xcb_window_t window) const;

    xcb_connection_t *m_connection = nullptr;
    const xcb_screen_t *m_screen = nullptr;
    std::unique_ptr<xcb_key_symbols_t, decltype(&xcb_key_symbols_free)> m_symbols{nullptr, &xcb_key_symbols_free};
    uint8_t m_damageEvent = 0;
    std::regex m_pattern;
    std::map<xcb_window_t, Watched> m_watched;
};

} // namespace panelwatch
