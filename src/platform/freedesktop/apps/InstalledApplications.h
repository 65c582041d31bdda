#pragma once

#include "platform/Result.h"
#include "platform/Workspace.h"
#include "platform/freedesktop/apps/ApplicationIndex.h"

#include <QHash>
#include <QMap>
#include <QMutex>
#include <QObject>
#include <QTimer>

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

/// The installed applications, live. An identifier names the file "id.desktop" in the first of the XDG data folders
/// that has it; its dashes may stand for sub-folders. An entry is read when it is first asked for and kept until
/// something changes; all of them are read only for index(). Look-ups may come from any thread.
class InstalledApplications : public QObject {
    Q_OBJECT
public:
    InstalledApplications();
    ~InstalledApplications() override;

    /// The installed application with exactly this identifier, or a sentence that says why there is none: no
    /// entry, an entry that marks it as deleted or is damaged, a program that is missing.
    Result<InstalledEntry> entry(const QString &id) const;
    /// All of them, for the resolver and for choosing counterparts.
    std::shared_ptr<const ApplicationIndex> index() const;
    /// Those that this desktop's menus show. Reads each of them.
    QList<InstalledApplication> shown() const;
    /// The identifier of the application that opens a MIME type or a URL scheme ("x-scheme-handler/mailto"); empty
    /// when there is none.
    static QString defaultFor(const QByteArray &type);

    /// The identifier of a desktop entry's file; empty when the file is in none of the folders.
    static QString idOf(const QString &path);
    /// Where entries lie, the user's own folder first.
    static QStringList folders();
    bool isEmpty() const { return files().isEmpty(); }
    /// Whether changed() can come at all: it needs an event loop that GLib's sources are part of.
    static bool followsChanges();

signals:
    /// Entries or default applications were added, replaced or removed: told a moment later, because a package brings
    /// many files at once, and in the first second at its end.
    void changed();

private:
    using Files = QMap<QString, QString>; ///< the entries' files by identifier

    void follow();
    void lookAgain();
    Files files() const;
    static Files listed();
    static size_t stampOf(const Files &files);

    QTimer m_quiet;
    std::shared_ptr<void> m_monitor; ///< GIO's
    mutable QMutex m_mutex;
    mutable Files m_files;
    mutable size_t m_stamp = 0; ///< of the time when they were listed
    mutable QHash<QString, Result<InstalledEntry>> m_entries;
    mutable std::shared_ptr<const ApplicationIndex> m_index;
    mutable quint64 m_generation = 0;
};

} // namespace cobblet
