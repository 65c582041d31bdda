// Why a running application counts as that one, and what happens when a person knows better.

#include "platform/freedesktop/apps/FreedesktopWorkspace.h"
#include "platform/freedesktop/apps/X11RunningApplications.h"

namespace cobblet {

namespace {

ProcessIdentity identityOf(qint64 pid)
{
    return pid > 0 ? processIdentity(pid) : ProcessIdentity();
}

} // namespace

void X11RunningApplications::setCorrections(StoredCorrections &corrections)
{
    m_corrections = &corrections;
    connect(m_corrections, &StoredCorrections::changed, this, &X11RunningApplications::applyCorrections);
    if (!corrections.all().isEmpty())
        applyCorrections();
}

Resolution X11RunningApplications::resolve(const ClientWindow &window) const
{
    const auto index = m_workspace.installed().index();
    const Corrections corrections = m_corrections ? m_corrections->all() : Corrections();
    Resolution resolution;
    if (!corrections.isEmpty())
        resolution = resolveCorrection(markOf(window), corrections, *index);
    if (resolution.id.isEmpty())
        resolution = resolveWindow(window.identity, *index);
    if (resolution.id.isEmpty() && window.pid > 0)
        resolution = resolveProcess(processIdentity(window.pid), *index);
    return resolution;
}

QString X11RunningApplications::markOf(const ClientWindow &window)
{
    const QString mark = cobblet::markOf(window.identity, {});
    return mark.isEmpty() ? cobblet::markOf({}, identityOf(window.pid)) : mark;
}

Recognition X11RunningApplications::recognition(const RunningApplication &application) const
{
    const Application *found = find(application);
    if (!found)
        return {};
    if (found->windows.empty())
        return found->startedHere.isValid()
                   ? Recognition{QStringLiteral("It was opened from here."), {}}
                   : Recognition{reasonOf(corrected(found->unseen, application.processIdentifier)),
                                 cobblet::markOf({}, identityOf(application.processIdentifier))};
    const auto isOfRule = [&](xcb_window_t window) {
        return m_windows.value(window).resolution.id == application.bundleIdentifier;
    };
    const auto decided = std::find_if(found->windows.begin(), found->windows.end(), isOfRule);
    const Window window = m_windows.value(decided == found->windows.end() ? found->windows.front() : *decided);
    return {decided != found->windows.end() ? reasonOf(window.resolution)
                                            : QStringLiteral("It belongs to another one that was recognised."),
            markOf(window.seen)};
}

QList<Correction> X11RunningApplications::corrections() const
{
    QList<Correction> list;
    const Corrections all = m_corrections ? m_corrections->all() : Corrections();
    for (auto it = all.cbegin(); it != all.cend(); ++it)
        list.append({it.key(), it.value()});
    return list;
}

Status X11RunningApplications::correct(const Correction &correction)
{
    return m_corrections ? m_corrections->set(correction.mark, correction.bundleIdentifier)
                         : RunningApplications::correct(correction);
}

/// Nothing was launched or has ended, whatever the applications are called from now on.
void X11RunningApplications::applyCorrections()
{
    for (Window &window : m_windows)
        window.resolution = resolve(window.seen);
    regroup(Origin::Unlaunched);

    QList<std::pair<RunningApplication, RunningApplication>> renamed;
    for (const auto &application : m_applications) {
        const RunningApplication before = application->self;
        if (!application->windows.empty() || application->unseen.id.isEmpty())
            continue;
        application->self.bundleIdentifier = corrected(application->unseen, before.processIdentifier).id;
        if (application->self == before)
            continue;
        watchProcess(*application, before.processIdentifier); // under its new name
        renamed.append({before, application->self});
    }
    for (const auto &[before, now] : renamed) {
        emit didTerminate(before);
        emit didLaunch(now, Origin::Unlaunched);
    }
    emit correctionsChanged();
}

/// What was found of a process without a window, unless a person knows better.
Resolution X11RunningApplications::corrected(const Resolution &found, qint64 pid) const
{
    if (!m_corrections || m_corrections->all().isEmpty())
        return found;
    const Resolution said = resolveCorrection(cobblet::markOf({}, identityOf(pid)), m_corrections->all(),
                                              *m_workspace.installed().index());
    return said.id.isEmpty() ? found : said;
}

} // namespace cobblet
