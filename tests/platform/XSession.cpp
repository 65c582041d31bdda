#include "platform/XSession.h"

#include <QElapsedTimer>
#include <QProcessEnvironment>
#include <QRect>
#include <QThread>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <functional>

#include <sys/prctl.h>
#include <xcb/shape.h>

namespace cobblet::test {

namespace {

template<class T>
std::unique_ptr<T, decltype(&std::free)> owned(T *reply)
{
    return {reply, &std::free};
}

bool eventually(const std::function<bool()> &condition)
{
    QElapsedTimer clock;
    for (clock.start(); clock.elapsed() < 10'000; QThread::msleep(10))
        if (condition())
            return true;
    return false;
}

} // namespace

XSession::XSession() : m_connection(xcb_connect(nullptr, nullptr)) {}

XSession::~XSession()
{
    for (const auto &program : m_programs) {
        program->kill();
        program->waitForFinished();
    }
    stop(m_compositor);
    stop(m_windowManager);
    xcb_disconnect(m_connection);
}

bool XSession::start(std::unique_ptr<QProcess> &process, const QString &program, const QStringList &arguments)
{
    process = std::make_unique<QProcess>();
    // Its themes and defaults are the machine's, whatever applications the test pretends are installed.
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const char *name : {"XDG_DATA_DIRS", "XDG_CONFIG_DIRS"})
        environment.remove(QLatin1String(name));
    process->setProcessEnvironment(environment);
    // A test that crashes takes its desktop with it.
    process->setChildProcessModifier([] { prctl(PR_SET_PDEATHSIG, SIGTERM); });
    process->setStandardErrorFile(QProcess::nullDevice());
    process->setStandardOutputFile(QProcess::nullDevice());
    process->start(program, arguments);
    return process->waitForStarted(10'000);
}

QProcess &XSession::start(const QString &program, const QStringList &arguments)
{
    start(m_programs.emplace_back(), program, arguments);
    return *m_programs.back();
}

void XSession::stop(std::unique_ptr<QProcess> &process)
{
    if (!process)
        return;
    process->terminate();
    if (!process->waitForFinished(5'000)) {
        process->kill();
        process->waitForFinished();
    }
    process.reset();
}

bool XSession::startWindowManager()
{
    return start(m_windowManager, QStringLiteral("openbox"), {QStringLiteral("--sm-disable")}) &&
           eventually([this] { // one that ended leaves the root window's property behind
               const auto check = property(root(), "_NET_SUPPORTING_WM_CHECK");
               return !check.empty() && property(check[0], "_NET_SUPPORTING_WM_CHECK") == check;
           }) &&
           eventually([this] { // it announces itself before it listens: windows mapped in between stay unmanaged
               const xcb_window_t probe = makeWindow();
               QThread::msleep(50);
               const bool managed = !property(probe, "WM_STATE").empty();
               xcb_destroy_window(m_connection, probe);
               xcb_flush(m_connection);
               return managed;
           });
}

bool XSession::startCompositor()
{
    return start(m_compositor, QStringLiteral("picom"),
                 {QStringLiteral("--backend"), QStringLiteral("xrender"), QStringLiteral("--config"),
                  QStringLiteral("/dev/null")}) &&
           eventually([this] { return selectionOwned("_NET_WM_CM_S0"); });
}

bool XSession::selectionOwned(const char *selection)
{
    const auto reply =
        owned(xcb_get_selection_owner_reply(xcb(), xcb_get_selection_owner(xcb(), atom(selection)), nullptr));
    return reply && reply->owner != XCB_WINDOW_NONE;
}

xcb_connection_t *XSession::xcb()
{
    return m_connection;
}

xcb_window_t XSession::root()
{
    return xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data->root;
}

xcb_atom_t XSession::atom(const char *name)
{
    const auto reply = owned(xcb_intern_atom_reply(
        m_connection, xcb_intern_atom(m_connection, 0, uint16_t(std::strlen(name)), name), nullptr));
    return reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
}

std::vector<uint32_t> XSession::property(xcb_window_t window, const char *name)
{
    const auto reply = owned(xcb_get_property_reply(
        m_connection, xcb_get_property(m_connection, 0, window, atom(name), XCB_GET_PROPERTY_TYPE_ANY, 0, 1024),
        nullptr));
    if (!reply || reply->format != 32)
        return {};
    const auto *values = static_cast<const uint32_t *>(xcb_get_property_value(reply.get()));
    return {values, values + xcb_get_property_value_length(reply.get()) / 4};
}

bool XSession::hasAtom(xcb_window_t window, const char *name, const char *value)
{
    const auto values = property(window, name);
    return std::find(values.begin(), values.end(), atom(value)) != values.end();
}

xcb_window_t XSession::activeWindow()
{
    const auto values = property(root(), "_NET_ACTIVE_WINDOW");
    return values.empty() ? xcb_window_t(XCB_WINDOW_NONE) : values[0];
}

xcb_window_t XSession::focus()
{
    const auto reply = owned(xcb_get_input_focus_reply(m_connection, xcb_get_input_focus(m_connection), nullptr));
    return reply ? reply->focus : xcb_window_t(XCB_WINDOW_NONE);
}

QRect XSession::geometry(xcb_window_t window)
{
    const auto size = owned(xcb_get_geometry_reply(m_connection, xcb_get_geometry(m_connection, window), nullptr));
    const auto place = owned(xcb_translate_coordinates_reply(
        m_connection, xcb_translate_coordinates(m_connection, window, root(), 0, 0), nullptr));
    return size && place ? QRect(place->dst_x, place->dst_y, size->width, size->height) : QRect();
}

int XSession::shapeRectangles(xcb_window_t window)
{
    const auto reply = owned(xcb_shape_get_rectangles_reply(
        m_connection, xcb_shape_get_rectangles(m_connection, window, XCB_SHAPE_SK_BOUNDING), nullptr));
    return reply ? int(reply->rectangles_len) : 0;
}

xcb_window_t XSession::makeWindow()
{
    const xcb_window_t window = xcb_generate_id(m_connection);
    xcb_create_window(m_connection, XCB_COPY_FROM_PARENT, window, root(), 50, 50, 200, 200, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, 0, nullptr);
    xcb_map_window(m_connection, window);
    xcb_flush(m_connection);
    return window;
}

} // namespace cobblet::test
