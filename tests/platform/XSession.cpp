#include "platform/XSession.h"

#include <QProcessEnvironment>
#include <QTest>

#include <algorithm>
#include <csignal>

#include <sys/prctl.h>

namespace cobblet::test {

using namespace Qt::StringLiterals;

namespace {

std::unique_ptr<QProcess> started(const QString &program, const QStringList &arguments)
{
    auto process = std::make_unique<QProcess>();
    // Its themes and defaults are the machine's, whatever applications the test pretends are installed.
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove(u"XDG_DATA_DIRS"_s);
    environment.remove(u"XDG_CONFIG_DIRS"_s);
    process->setProcessEnvironment(environment);
    // A test that crashes takes its desktop with it.
    process->setChildProcessModifier([] { prctl(PR_SET_PDEATHSIG, SIGTERM); });
    process->setStandardErrorFile(QProcess::nullDevice());
    process->setStandardOutputFile(QProcess::nullDevice());
    process->start(program, arguments);
    process->waitForStarted(10'000);
    return process;
}

} // namespace

XSession::~XSession()
{
    for (auto &program : m_programs)
        stop(program);
    stop(m_compositor);
    stop(m_windowManager);
}

QProcess &XSession::start(const QString &program, const QStringList &arguments)
{
    return *m_programs.emplace_back(started(program, arguments));
}

void XSession::stop(std::unique_ptr<QProcess> &process)
{
    if (!process)
        return;
    process->terminate();
    process->waitForFinished(5'000);
    process.reset(); // kills it if need be
}

bool XSession::startWindowManager()
{
    m_windowManager = started(u"openbox"_s, {u"--sm-disable"_s});
    return QTest::qWaitFor(
        [this] { // it announces itself before it listens: windows mapped in between stay unmanaged
            const xcb_window_t probe = makeWindow();
            QTest::qSleep(50);
            const bool managed = !property(probe, "WM_STATE").empty();
            xcb_destroy_window(x11->xcb(), probe);
            x11->flush();
            // It stays in the manager's list for a moment.
            (void)QTest::qWaitFor([&] {
                const auto listed = property(x11->root(), "_NET_CLIENT_LIST");
                return std::find(listed.begin(), listed.end(), probe) == listed.end();
            });
            return managed;
        },
        10'000);
}

bool XSession::startCompositor()
{
    m_compositor = started(u"picom"_s, {u"--backend"_s, u"xrender"_s, u"--config"_s, u"/dev/null"_s});
    return m_compositor->state() == QProcess::Running;
}

std::vector<uint32_t> XSession::property(xcb_window_t window, const char *name)
{
    return x11->cardinals(window, x11->atom(name));
}

QRect XSession::geometry(xcb_window_t window)
{
    xcb_connection_t *xcb = x11->xcb();
    const XcbReply<xcb_get_geometry_reply_t> size(
        xcb_get_geometry_reply(xcb, xcb_get_geometry(xcb, window), nullptr));
    const XcbReply<xcb_translate_coordinates_reply_t> place(
        xcb_translate_coordinates_reply(xcb, xcb_translate_coordinates(xcb, window, x11->root(), 0, 0), nullptr));
    return size && place ? QRect(place->dst_x, place->dst_y, size->width, size->height) : QRect();
}

xcb_window_t XSession::makeWindow()
{
    const xcb_window_t window = xcb_generate_id(x11->xcb());
    xcb_create_window(x11->xcb(), XCB_COPY_FROM_PARENT, window, x11->root(), 50, 50, 200, 200, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, 0, nullptr);
    xcb_map_window(x11->xcb(), window);
    x11->flush();
    return window;
}

} // namespace cobblet::test
