#include "platform/freedesktop/apps/FolderWatch.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLoggingCategory>
#include <QSocketNotifier>

#include <sys/inotify.h>
#include <unistd.h>

namespace cobblet {

Q_LOGGING_CATEGORY(lcFolderWatch, "cobblet.applications.watch")

namespace {

constexpr int maximumWatches = 1024;
constexpr int maximumLinks = 16;
constexpr int maximumDepth = 4;
constexpr int quietMilliseconds = 150;
constexpr uint32_t events =
    IN_CREATE | IN_DELETE | IN_CLOSE_WRITE | IN_MOVED_FROM | IN_MOVED_TO | IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR;

} // namespace

FolderWatch::FolderWatch(QObject *parent) : QObject(parent), m_descriptor(inotify_init1(IN_NONBLOCK | IN_CLOEXEC))
{
    m_quiet.setSingleShot(true);
    m_quiet.setInterval(quietMilliseconds);
    connect(&m_quiet, &QTimer::timeout, this, &FolderWatch::settle);
    if (m_descriptor < 0) {
        qCWarning(lcFolderWatch)
            << "Changes of installed applications will not be noticed: no inotify instance is free.";
        return;
    }
    m_notifier = std::make_unique<QSocketNotifier>(m_descriptor, QSocketNotifier::Read);
    connect(m_notifier.get(), &QSocketNotifier::activated, this, &FolderWatch::read);
}

FolderWatch::~FolderWatch()
{
    m_notifier.reset();
    if (m_descriptor >= 0)
        ::close(m_descriptor);
}

void FolderWatch::watchTree(const QString &folder)
{
    if (!m_trees.contains(folder))
        m_trees.append(folder);
    watchPath(folder, maximumLinks, false);
    watchBelow(folder, 0);
}

void FolderWatch::watchFiles(const QString &folder, const QStringList &names)
{
    m_files.append({folder, names});
    watchPath(folder, maximumLinks, false);
    for (const QString &name : names)
        addName(folder, name);
}

void FolderWatch::watchLink(const QString &file)
{
    const QFileInfo info(file);
    if (info.isSymLink())
        watchPath(info.symLinkTarget(), maximumLinks, true);
}

/// Watches for the exchange of every link on the way, for the first missing folder, and for the leaf.
void FolderWatch::watchPath(const QString &path, int linksLeft, bool leafIsFile)
{
    const QStringList components = QDir::cleanPath(path).split(u'/', Qt::SkipEmptyParts);
    QString parent = QStringLiteral("/");
    for (qsizetype i = 0; i < components.size(); ++i) {
        const QString here = (parent == u"/" ? parent : parent + u'/') + components.at(i);
        const QFileInfo info(here);
        const bool leaf = i + 1 == components.size();
        if (info.isSymLink() || !info.exists() || (leaf && leafIsFile))
            addName(parent, components.at(i));
        if (info.isSymLink() && linksLeft > 0)
            watchPath(info.symLinkTarget(), linksLeft - 1, leaf && leafIsFile);
        if (!info.exists())
            return;
        parent = here;
    }
}

void FolderWatch::watchBelow(const QString &folder, int depth)
{
    const int watch = add(folder);
    if (watch < 0)
        return;
    m_watched[watch].everything = true;
    if (depth == maximumDepth)
        return;
    const QDir directory(folder);
    for (const QString &name : directory.entryList(QDir::Dirs | QDir::NoDotAndDotDot))
        watchBelow(directory.filePath(name), depth + 1);
}

int FolderWatch::add(const QString &folder)
{
    if (m_descriptor < 0 || m_full)
        return -1;
    const int watch = inotify_add_watch(m_descriptor, QFile::encodeName(folder).constData(), events);
    if (watch >= 0)
        m_watched[watch];
    if (m_watched.size() >= maximumWatches) {
        m_full = true;
        qCWarning(lcFolderWatch)
            << "Changes of some installed applications will not be noticed: there are too many folders.";
    }
    return watch;
}

void FolderWatch::addName(const QString &folder, const QString &name)
{
    if (const int watch = add(folder); watch >= 0)
        m_watched[watch].names.insert(name);
}

void FolderWatch::read()
{
    alignas(inotify_event) char buffer[16 * 1024];
    bool relevant = false;
    for (ssize_t size; (size = ::read(m_descriptor, buffer, sizeof buffer)) > 0;) {
        for (const char *at = buffer; at < buffer + size;) {
            const auto *event = reinterpret_cast<const inotify_event *>(at);
            at += sizeof(inotify_event) + event->len;
            const auto watched = m_watched.constFind(event->wd);
            const bool lost = (event->mask & (IN_Q_OVERFLOW | IN_DELETE_SELF | IN_MOVE_SELF)) != 0;
            relevant = relevant || lost ||
                       (watched != m_watched.cend() && event->len > 0 &&
                        (watched->everything || watched->names.contains(QFile::decodeName(event->name))));
        }
    }
    // Not restarted: a folder that never comes to rest must not hide a change for ever.
    if (relevant && !m_quiet.isActive())
        m_quiet.start();
}

void FolderWatch::settle()
{
    for (auto watch = m_watched.keyBegin(); watch != m_watched.keyEnd(); ++watch)
        inotify_rm_watch(m_descriptor, *watch);
    m_watched.clear();
    m_full = false;
    for (const QString &tree : std::as_const(m_trees))
        watchTree(tree);
    for (const auto &[folder, names] : std::exchange(m_files, {}))
        watchFiles(folder, names);
    emit changed();
}

} // namespace cobblet
