#include "platform/freedesktop/apps/X11RunningApplications.h"

#include "platform/freedesktop/X11Connection.h"
#include "platform/freedesktop/apps/FreedesktopWorkspace.h"

#include <QLoggingCategory>

#include <algorithm>
#include <csignal>
#include <utility>

#include <unistd.h>

namespace cobblet {

Q_LOGGING_CATEGORY(lcRunning, "cobblet.applications.running", QtInfoMsg)

namespace {

/// How long an application may take to show its first window before a click on it starts it again.
constexpr qint64 startingMilliseconds = 15000;

} // namespace

X11RunningApplications::X11RunningApplications(X11Connection *x11, FreedesktopWorkspace &workspace, QObject *parent)
    : m_x11(x11), m_workspace(workspace)
{
    setParent(parent);
    connect(&workspace.launcher(), &ApplicationLauncher::launched, this, &X11RunningApplications::launchedHere);
    if (!x11)
        return;
    m_clients = std::make_unique<X11ClientWindows>(*x11);
    m_visibility = std::make_unique<X11WindowVisibility>(*m_clients);
    if (!m_clients->hasLists())
        qCDebug(lcRunning)
            << "Nobody keeps a list of windows: running applications are looked for in the window tree.";
    connect(x11, &X11Connection::eventArrived, this, &X11RunningApplications::onEvent);
    connect(x11, &X11Connection::broken, this, [this] {
        m_visibility.reset();
        m_clients.reset();
        m_order.clear();
        m_windows.clear();
        regroup();
    });
    take(m_clients->list(m_visibility->hidden()));
}

X11RunningApplications::~X11RunningApplications() = default;

// Following the windows

void X11RunningApplications::onEvent(xcb_generic_event_t *event)
{
    switch (event->response_type & 0x7f) {
    case XCB_PROPERTY_NOTIFY: {
        const auto *change = reinterpret_cast<const xcb_property_notify_event_t *>(event);
        if (change->window == m_x11->root()) {
            if (!m_clients->isList(change->atom))
                return;
            m_managerChanged = m_managerChanged || change->atom == m_x11->atom("_NET_SUPPORTING_WM_CHECK");
        } else if (!m_windows.contains(change->window)) {
            return;
        } else if (change->atom == m_x11->atom("WM_STATE")) {
            m_visibility->stateChanged(change->window);
            return;
        } else if (m_clients->isIdentity(change->atom)) {
            m_changed.insert(change->window);
        } else {
            return;
        }
        refreshSoon();
        break;
    }
    case XCB_MAP_NOTIFY:
    case XCB_UNMAP_NOTIFY:
    case XCB_DESTROY_NOTIFY:
    case XCB_REPARENT_NOTIFY:
        if (!m_clients->hasLists())
            refreshSoon();
        break;
    default:
        break;
    }
}

void X11RunningApplications::refreshSoon()
{
    if (!std::exchange(m_refreshQueued, true))
        QMetaObject::invokeMethod(this, &X11RunningApplications::refresh, Qt::QueuedConnection);
}

void X11RunningApplications::refresh()
{
    m_refreshQueued = false;
    if (!m_clients)
        return;
    if (std::exchange(m_managerChanged, false) || !m_clients->hasLists())
        m_clients->findWindowManager();
    if (!m_clients->hasLists())
        return take(m_clients->list(m_visibility->hidden()));
    // Without waiting: the list changes with every window that opens, the panel's among them.
    m_x11->whenReplied(m_clients->askForList(), this, [this](const void *reply) {
        if (m_clients)
            take(m_clients->listIn(reply));
    });
}

void X11RunningApplications::take(std::vector<xcb_window_t> windows)
{
    m_order = std::move(windows);
    const QSet<xcb_window_t> present(m_order.begin(), m_order.end());
    for (auto window = m_windows.begin(); window != m_windows.end();) {
        if (present.contains(window.key())) {
            ++window;
            continue;
        }
        m_x11->forget(window.key());
        m_visibility->forget(window.key());
        window = m_windows.erase(window);
    }
    std::vector<xcb_window_t> unread;
    for (const xcb_window_t window : m_order)
        if (!m_windows.contains(window) || m_changed.contains(window))
            unread.push_back(window);
    m_changed.clear();
    for (ClientWindow &seen : m_clients->describe(unread)) {
        Window &window = m_windows[seen.id];
        window.resolution = resolve(seen);
        window.seen = std::move(seen);
        qCDebug(lcRunning).noquote() << "Window" << window.seen.id << "of process" << window.seen.pid << "belongs to"
                                     << window.resolution.id << "by" << window.resolution.reason();
    }
    std::erase_if(m_order, [this](xcb_window_t window) { return !m_windows.contains(window); });
    regroup();
}

Resolution X11RunningApplications::resolve(const ClientWindow &window) const
{
    const auto index = m_workspace.installed().index();
    Resolution resolution = resolveWindow(window.identity, *index);
    if (resolution.id.isEmpty() && window.pid > 0)
        resolution = resolveProcess(processIdentity(window.pid), *index);
    return resolution;
}

/// The application that a window counts for: its own, else that of another window of its process; under the
/// process that was launched for it, where that is an ancestor.
RunningApplication X11RunningApplications::ownerOf(const Window &window) const
{
    RunningApplication owner{window.resolution.id, window.seen.pid};
    if (owner.processIdentifier > 0 && !m_terminals.isEmpty())
        for (auto terminal = m_terminals.cbegin(); terminal != m_terminals.cend(); ++terminal)
            if (isOrDescendsFrom(owner.processIdentifier, terminal.key()))
                owner.bundleIdentifier = terminal.value();
    if (owner.bundleIdentifier.isEmpty() && owner.processIdentifier > 0)
        for (const xcb_window_t other : m_order)
            if (const Window &candidate = *m_windows.constFind(other);
                candidate.seen.pid == owner.processIdentifier && !candidate.resolution.id.isEmpty()) {
                owner.bundleIdentifier = candidate.resolution.id;
                break;
            }
    for (const auto &application : m_applications)
        if (application->self.bundleIdentifier == owner.bundleIdentifier && application->startedHere.isValid() &&
            owner.processIdentifier > 0 &&
            isOrDescendsFrom(owner.processIdentifier, application->self.processIdentifier))
            return application->self;
    return owner;
}

/// Divides the windows among the applications and tells what began and what ended.
void X11RunningApplications::regroup()
{
    for (const auto &application : m_applications)
        application->windows.clear();
    QList<RunningApplication> launched;
    for (const xcb_window_t id : m_order) {
        const Window &window = *m_windows.constFind(id);
        // Docks and the desktop itself are part of the environment, not applications that somebody runs.
        if (window.processEnded || !window.seen.isOrdinary)
            continue;
        const RunningApplication owner = ownerOf(window);
        Application *application = find(owner);
        if (!application) {
            application = &add(owner);
            launched.append(owner);
        }
        application->windows.push_back(id);
        application->hadWindows = true;
    }
    QList<RunningApplication> ended;
    for (const auto &application : m_applications)
        if (application->windows.empty() &&
            (!application->end || application->self.bundleIdentifier.isEmpty() || sharesProcess(*application)))
            ended.append(application->self);
    std::erase_if(m_applications, [&](const auto &application) { return ended.contains(application->self); });

    for (const RunningApplication &application : ended)
        emit didTerminate(application);
    for (const RunningApplication &application : launched)
        if (!ended.contains(application))
            emit didLaunch(application);
}

void X11RunningApplications::launchedHere(const QString &id, qint64 pid, bool inTerminal)
{
    if (inTerminal) {
        for (auto terminal = m_terminals.begin(); terminal != m_terminals.end();)
            terminal = processEntry(terminal.key()) ? std::next(terminal) : m_terminals.erase(terminal);
        m_terminals.insert(pid, id);
    }
    // A second start of a running application most often hands over to the first one and ends: it is not told
    // as an application of its own unless it shows a window.
    if (std::any_of(m_applications.begin(), m_applications.end(),
                    [&](const auto &application) { return application->self.bundleIdentifier == id; }))
        return;
    Application &application = add({id, pid});
    if (!application.end) // it has ended already
        if (const qint64 successor = leftInSession(pid); successor > 0)
            watchProcess(application, successor);
    if (!application.end) {
        m_applications.pop_back();
        return;
    }
    application.startedHere.start();
    emit didLaunch(RunningApplication(application.self));
}

void X11RunningApplications::processEnded(const RunningApplication &ended)
{
    Application *application = find(ended);
    if (!application)
        return;
    for (Window &window : m_windows)
        if (window.seen.pid == ended.processIdentifier)
            window.processEnded = true;
    // What was launched may have been a wrapper: the application goes on in the process of its windows, or in
    // one that the wrapper left behind in the session it was given.
    qint64 successor = 0;
    for (const xcb_window_t id : application->windows)
        if (const Window &window = m_windows.value(id); successor == 0 && !window.processEnded)
            successor = window.seen.pid;
    if (successor == 0 && application->startedHere.isValid() && application->windows.empty())
        successor = leftInSession(ended.processIdentifier);
    application->end.reset();
    if (successor > 0)
        watchProcess(*application, successor);
    regroup();
}

// The list

QList<RunningApplication> X11RunningApplications::runningApplications() const
{
    QList<RunningApplication> list;
    for (const auto &application : m_applications)
        list.append(application->self);
    return list;
}

Availability X11RunningApplications::availability() const
{
    if (m_clients)
        return Availability::works();
    return Availability::partly(QStringLiteral("Without an X11 display it can't be seen which applications run."));
}

X11RunningApplications::Application *X11RunningApplications::find(const RunningApplication &application) const
{
    const auto found = std::find_if(m_applications.begin(), m_applications.end(),
                                    [&](const auto &item) { return item->self == application; });
    return found == m_applications.end() ? nullptr : found->get();
}

std::vector<xcb_window_t> X11RunningApplications::windowsOf(const RunningApplication &application) const
{
    const Application *found = find(application);
    return found ? found->windows : std::vector<xcb_window_t>();
}

X11RunningApplications::Application &X11RunningApplications::add(const RunningApplication &application)
{
    m_applications.push_back(std::make_unique<Application>());
    Application &added = *m_applications.back();
    added.self = application;
    watchProcess(added, application.processIdentifier);
    return added;
}

/// Makes it the main process of the application, which has no end then if the process has ended already.
void X11RunningApplications::watchProcess(Application &application, qint64 pid)
{
    application.self.processIdentifier = pid;
    auto watch = ProcessEnd::watch(pid);
    const auto process = processEntry(pid);
    if (!watch || !process)
        return;
    application.process = *process;
    connect(watch.get(), &ProcessEnd::ended, this, [this, self = application.self] { processEnded(self); });
    application.end.reset(watch.release());
}

/// Whether windows of another application come from the same process.
bool X11RunningApplications::sharesProcess(const Application &application) const
{
    const qint64 pid = application.self.processIdentifier;
    return pid > 0 && std::any_of(m_applications.begin(), m_applications.end(), [&](const auto &other) {
               return other.get() != &application &&
                      std::any_of(other->windows.begin(), other->windows.end(),
                                  [&](xcb_window_t window) { return m_windows.value(window).seen.pid == pid; });
           });
}

bool X11RunningApplications::lacksWindows(const RunningApplication &application) const
{
    const Application *found = find(application);
    const bool starting = found && !found->hadWindows && found->startedHere.isValid() &&
                          found->startedHere.elapsed() < startingMilliseconds;
    return found && found->windows.empty() && !starting;
}

// The verbs

void X11RunningApplications::hide(const RunningApplication &application)
{
    if (m_visibility)
        m_visibility->hide(windowsOf(application));
}

void X11RunningApplications::unhide(const RunningApplication &application)
{
    if (m_visibility)
        m_visibility->unhide(windowsOf(application));
}

void X11RunningApplications::unminimize(const RunningApplication &application)
{
    if (m_visibility)
        m_visibility->restore(windowsOf(application));
}

void X11RunningApplications::activate(const RunningApplication &application)
{
    if (m_visibility)
        m_visibility->bringToFront(windowsOf(application));
}

bool X11RunningApplications::closeWindows(const Application &application)
{
    bool asked = false;
    if (m_clients)
        for (const xcb_window_t window : application.windows)
            asked = m_clients->close(window) || asked;
    return asked;
}

void X11RunningApplications::terminate(const RunningApplication &application)
{
    const Application *found = find(application);
    if (!found || closeWindows(*found) || sharesProcess(*found) || !found->end)
        return;
    if (!sendSignal(found->process, SIGTERM))
        qCWarning(lcRunning).noquote() << QStringLiteral("“%1” cannot be asked to quit: it belongs to another user.")
                                              .arg(application.bundleIdentifier);
}

void X11RunningApplications::forceTerminate(const RunningApplication &application)
{
    const Application *found = find(application);
    if (!found)
        return;
    if (!found->end || sharesProcess(*found)) {
        qCWarning(lcRunning).noquote()
            << QStringLiteral("“%1” is asked to close its windows instead of being killed: %2.")
                   .arg(application.bundleIdentifier,
                        found->end ? QStringLiteral("it shares its process with another application")
                                   : QStringLiteral("its process is not known"));
        closeWindows(*found);
        return;
    }
    QList<qint64> others{getpid()};
    QList<qint64> roots{application.processIdentifier};
    for (const auto &other : m_applications) {
        const bool same = other.get() == found;
        if (!same && other->self.processIdentifier > 0)
            others.append(other->self.processIdentifier);
        for (const xcb_window_t window : other->windows)
            (same ? roots : others).append(m_windows.value(window).seen.pid);
    }
    bool killed = false;
    for (const ProcessEntry &process : ownProcesses(roots, allProcesses(), others))
        killed = sendSignal(process, SIGKILL) || killed;
    if (!killed)
        qCWarning(lcRunning).noquote()
            << QStringLiteral("“%1” cannot be killed: it belongs to another user.").arg(application.bundleIdentifier);
}

} // namespace cobblet
