#include <cstdlib>
#include <cstring>

#include <xcb/xcb.h>

namespace {

xcb_atom_t atom(xcb_connection_t *connection, const char *name)
{
    xcb_intern_atom_reply_t *reply =
        xcb_intern_atom_reply(connection, xcb_intern_atom(connection, 0, uint16_t(std::strlen(name)), name), nullptr);
    const xcb_atom_t value = reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
    std::free(reply);
    return value;
}

void makeWindow(xcb_connection_t *connection, const xcb_screen_t *screen, const char *classes, size_t length)
{
    const xcb_window_t window = xcb_generate_id(connection);
    xcb_create_window(connection, XCB_COPY_FROM_PARENT, window, screen->root, 0, 0, 120, 80, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, 0, nullptr);
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 8,
                        uint32_t(length), classes);
    const char title[] = "XTerm"; // says it is something else
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, 8,
                        sizeof title - 1, title);
    const xcb_atom_t close = atom(connection, "WM_DELETE_WINDOW");
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, atom(connection, "WM_PROTOCOLS"), XCB_ATOM_ATOM,
                        32, 1, &close);
    xcb_map_window(connection, window);
    xcb_flush(connection);
}

} // namespace

/// usage: stubborn_window [guest]: a window that does nothing when it is asked to close. "guest" adds one of
/// another class in the same process.
int main(int argc, char **argv)
{
    int number = 0;
    xcb_connection_t *connection = xcb_connect(nullptr, &number);
    if (xcb_connection_has_error(connection) != 0)
        return 1;
    const xcb_screen_t *screen = xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
    const char host[] = "host\0Stubborn";
    const char guest[] = "guest\0Guest";
    makeWindow(connection, screen, host, sizeof host);
    if (argc > 1 && std::strcmp(argv[1], "guest") == 0)
        makeWindow(connection, screen, guest, sizeof guest);
    while (xcb_generic_event_t *event = xcb_wait_for_event(connection))
        std::free(event);
    return 0;
}
