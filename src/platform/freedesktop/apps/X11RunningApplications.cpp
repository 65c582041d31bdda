#include "platform/freedesktop/apps/X11RunningApplications.h"

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

X11RunningApplications::X11RunningApplications(X11Windows *windows, FreedesktopWorkspace &workspace, Share share)
    : m_display(windows), m_workspace(workspace), m_share(share)
{
    connect(&workspace.launcher(), &ApplicationLauncher::launched, this, &X11RunningApplications::launchedHere);
    if (!m_display)
        return;
    connect(&workspace.launcher(), &ApplicationLauncher::launching, m_display, &X11Windows::giveFocusToLaunch);
    connect(m_display, &X11Windows::added, this, &X11RunningApplications::read);
    connect(m_display, &X11Windows::removed, this, [this](xcb_window_t window) {
        m_windows.remove(window);
        regroupSoon();
    });
    connect(m_display, &X11Windows::propertyChanged, this, [this](xcb_window_t window, xcb_atom_t property) {
        if (ClientWindow::isReadFrom(m_display->x11(), property))
            read(window);
    });
    for (const xcb_window_t window : m_display->windows())
        read(window);
    m_display->x11().awaitReplies();
    regroup();
}

// Following the windows

void X11RunningApplications::read(xcb_window_t id)
{
    ClientWindow::read(m_display->x11(), id, this, [this, id](const ClientWindow &seen) {
        if (!m_display->contains(id))
            return;
        const Window &window = m_windows[id] = {seen, resolve(seen)};
        qCDebug(lcRunning).noquote() << "Window" << id << "of process" << seen.pid << "belongs to"
                                     << window.resolution.id << "by" << window.resolution.by;
        regroupSoon();
    });
}

/// Once for all that the server has just told.
void X11RunningApplications::regroupSoon()
{
    if (!std::exchange(m_regroupQueued, true))
        QMetaObject::invokeMethod(
            this, [this] { regroup(); }, Qt::QueuedConnection);
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
    if (owner.processIdentifier > 0)
        for (const xcb_window_t other : m_display->windows())
            if (const Window candidate = m_windows.value(other);
                owner.bundleIdentifier.isEmpty() && candidate.seen.pid == owner.processIdentifier)
                owner.bundleIdentifier = candidate.resolution.id;
    for (const auto &application : m_applications)
        if (application->self.bundleIdentifier == owner.bundleIdentifier && application->startedHere.isValid() &&
            owner.processIdentifier > 0 &&
            isOrDescendsFrom(owner.processIdentifier, application->self.processIdentifier))
            return application->self;
    return owner;
}

/// Divides the windows among the applications and tells what began and what ended.
void X11RunningApplications::regroup(Origin origin)
{
    m_regroupQueued = false;
    for (const auto &application : m_applications)
        application->windows.clear();
    QList<std::pair<RunningApplication, Origin>> launched;
    for (const xcb_window_t id : m_display ? m_display->windows() : std::vector<xcb_window_t>()) {
        const auto window = m_windows.constFind(id);
        // Docks, the desktop and the window manager are part of the environment, not applications that somebody runs.
        if (window == m_windows.cend() || window->processEnded || !window->seen.isOrdinary ||
            m_display->isOfManager(id))
            continue;
        const RunningApplication owner = ownerOf(*window);
        Application *application = find(owner);
        if (!application && (application = withoutWindowYet(owner.bundleIdentifier)))
            watchProcess(*application, owner.processIdentifier);
        if (!application) {
            application = &add(owner);
            launched.append({owner, handedOver(owner.bundleIdentifier) ? Origin::Unlaunched : origin});
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
    for (const auto &[application, origin] : launched)
        if (!ended.contains(application))
            emit didLaunch(application, origin);
}

bool X11RunningApplications::Application::isStarting() const
{
    return !hadWindows && startedHere.isValid() && startedHere.elapsed() < startingMilliseconds;
}

/// The launch from here that the first window of this application completes, whichever process it comes from: what
/// was started may have handed over to one that ran already.
X11RunningApplications::Application *X11RunningApplications::withoutWindowYet(const QString &id) const
{
    const auto found = std::find_if(m_applications.begin(), m_applications.end(), [&](const auto &item) {
        return item->self.bundleIdentifier == id && item->isStarting();
    });
    return found == m_applications.end() ? nullptr : found->get();
}

/// Whether the first window of this application is the doing of a launch from here that has ended.
bool X11RunningApplications::handedOver(const QString &id)
{
    const QElapsedTimer ended = m_ended.take(id);
    return ended.isValid() && ended.elapsed() < startingMilliseconds;
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
    application.startedHere.start();
    const bool lives = application.end != nullptr;
    const RunningApplication self = application.self;
    emit didLaunch(self, Origin::Here);
    if (!lives)
        processEnded(self);
}

void X11RunningApplications::addUnseen(const RunningApplication &seen, QLatin1String by)
{
    const Resolution found{seen.bundleIdentifier, by};
    const RunningApplication application{corrected(found, seen.processIdentifier).id, seen.processIdentifier};
    const auto isKnown = [&](const auto &known) {
        return known->self.bundleIdentifier == application.bundleIdentifier ||
               known->self.processIdentifier == application.processIdentifier;
    };
    if (std::any_of(m_applications.begin(), m_applications.end(), isKnown))
        return;
    Application &added = add(application);
    added.unseen = found;
    if (added.end)
        emit didLaunch(application, Origin::Unlaunched);
    else
        m_applications.pop_back();
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
    else if (application->isStarting())
        m_ended.insert(ended.bundleIdentifier, application->startedHere);
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
    if (m_display && xcb_connection_has_error(m_display->x11().xcb()) == 0)
        return m_share == Share::All
                   ? Availability::works(QStringLiteral("Every window of the desktop is seen."))
                   : Availability::partly(QStringLiteral(
                         "On a Wayland desktop only applications that use X11, and those that were opened from "
                         "here, can be seen, and only windows of X11 can be hidden or shown."));
    return Availability::partly(QStringLiteral("Without an X11 display it can't be seen which applications run, and "
                                               "their windows can't be hidden or shown."));
}

X11RunningApplications::Application *X11RunningApplications::find(const RunningApplication &application) const
{
    const auto found = std::find_if(m_applications.begin(), m_applications.end(),
                                    [&](const auto &item) { return item->self == application; });
    return found == m_applications.end() ? nullptr : found->get();
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
    application.end.reset();
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
    return found && found->windows.empty() && !found->isStarting();
}

// The verbs

void X11RunningApplications::tell(const RunningApplication &application, Verb verb)
{
    if (const Application *found = find(application); found && m_display)
        (m_display->*verb)(found->windows);
}

void X11RunningApplications::hide(const RunningApplication &application, Completion done)
{
    const Application *found = find(application);
    if (found && !found->windows.empty()) {
        m_display->hide(found->windows, std::move(done));
    } else if (done) {
        const Availability seen = availability();
        done(seen.level == Availability::Level::Works ? Status() : Error{seen.sentence});
    }
}

void X11RunningApplications::reopen(const RunningApplication &application)
{
    const auto entry = m_workspace.installed().entry(application.bundleIdentifier);
    if (!entry)
        return;
    if (entry.value().dBusActivatable && m_workspace.launcher().hasBus())
        m_workspace.launcher().activate(application.bundleIdentifier);
    else if (lacksWindows(application))
        m_workspace.launcher().launch(entry.value());
}

bool X11RunningApplications::closeWindows(const Application &application)
{
    bool asked = false;
    for (const xcb_window_t window : application.windows)
        asked = m_display->close(window) || asked;
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
