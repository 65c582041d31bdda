#pragma once

#include "platform/Result.h"
#include "platform/Workspace.h"
#include "platform/freedesktop/apps/ApplicationFolders.h"
#include "platform/freedesktop/apps/ApplicationIndex.h"
#include "platform/freedesktop/apps/FolderWatch.h"

#include <QHash>
#include <QMutex>
#include <QObject>

#include <memory>

namespace cobblet {

/// One installed application as its desktop entry describes it.
struct InstalledEntry {
    InstalledApplication application;
    QString icon;          ///< the Icon key: a theme name or an absolute path
    QString workingFolder; ///< the Path key
    QString command;       ///< the Exec key; may be empty when dBusActivatable
    bool dBusActivatable = false;
    bool terminal = false;
    bool startupNotify = false;
};

/// The installed applications, live. An entry is read when it is first asked for and kept until something
/// changes; the whole list is read only for index(). Look-ups may come from any thread.
class InstalledApplications : public QObject {
    Q_OBJECT
public:
    explicit InstalledApplications(ApplicationFolders folders = ApplicationFolders::ofThisUser(),
                                   QObject *parent = nullptr);

    /// The installed application with exactly this identifier, or a sentence that says why there is none: no
    /// entry, an entry that marks it as deleted or is damaged, a program that is missing.
    Result<InstalledEntry> entry(const QString &id) const;
    /// All of them, for the resolver and for choosing counterparts.
    std::shared_ptr<const ApplicationIndex> index() const;
    /// The identifier of a desktop entry's file; empty when the file is in none of the folders.
    QString idOf(const QString &path) const { return m_folders.idOf(path); }

    const ApplicationFolders &folders() const { return m_folders; }
    /// The desktop's names, as menus are filtered by.
    static QStringList currentDesktops();

    /// Also tells when one of these files changes.
    void watchFiles(const QString &folder, const QStringList &names) { m_watch.watchFiles(folder, names); }

signals:
    /// Entries were added, replaced, hidden or removed, or a watched file changed.
    void changed();

private:
    Result<InstalledEntry> load(const QString &id) const;
    void watchLink(const QString &path) const;

    const ApplicationFolders m_folders;
    mutable FolderWatch m_watch;
    mutable QMutex m_mutex;
    mutable QHash<QString, Result<InstalledEntry>> m_entries;
    mutable std::shared_ptr<const ApplicationIndex> m_index;
    mutable quint64 m_generation = 0;
};

} // namespace cobblet
