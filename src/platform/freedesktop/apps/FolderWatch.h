#pragma once

#include <QHash>
#include <QObject>
#include <QSet>
#include <QStringList>
#include <QTimer>

#include <memory>

class QSocketNotifier;

namespace cobblet {

/// Tells when something changes in a set of folders, by inotify alone. A path is watched as a person reads
/// it: where a component of it is a symbolic link, the swap of that link is a change too, and a folder that
/// does not exist yet is awaited in the nearest one that does. Main thread.
class FolderWatch : public QObject {
    Q_OBJECT
public:
    explicit FolderWatch(QObject *parent = nullptr);
    ~FolderWatch() override;

    /// Watches a folder and the folders below it.
    void watchTree(const QString &folder);
    /// Watches some file names of one folder, whether or not they exist.
    void watchFiles(const QString &folder, const QStringList &names);
    /// Watches what a symbolic link leads to; does nothing for any other file.
    void watchLink(const QString &file);

signals:
    /// Something changed, and then nothing for a moment (a package brings many files at once). The folders
    /// and files of watchTree() and watchFiles() are watched afresh by now; the links are forgotten.
    void changed();

private:
    void watchPath(const QString &path, int linksLeft, bool leafIsFile);
    void watchBelow(const QString &folder, int depth);
    int add(const QString &folder);
    void addName(const QString &folder, const QString &name);
    void read();
    void settle();

    struct Watched {
        bool everything = false;
        QSet<QString> names;
    };
    int m_descriptor;
    std::unique_ptr<QSocketNotifier> m_notifier;
    QHash<int, Watched> m_watched;
    QStringList m_trees;
    QList<QPair<QString, QStringList>> m_files;
    QTimer m_quiet;
    bool m_full = false;
};

} // namespace cobblet
