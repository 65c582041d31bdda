#pragma once

#include "platform/freedesktop/apps/DesktopEntry.h"

#include <QHash>
#include <QList>
#include <QString>

namespace cobblet {

/// An installed application as the window resolver and the choice of counterparts see it.
struct IndexEntry {
    QString id;
    DesktopEntry entry;
    bool visible = true; ///< menus show it on this desktop

    bool isTerminalEmulator() const { return entry.categories.contains("terminalemulator"); }
};

/// The installed applications by the marks that windows and processes carry. Immutable.
class ApplicationIndex {
public:
    explicit ApplicationIndex(QList<IndexEntry> entries = {});

    /// In the order of their identifiers.
    const QList<IndexEntry> &entries() const { return m_entries; }

    /// The entry with this identifier, else the one that differs only in case. Null when there is none.
    const IndexEntry *byId(const QString &id) const;
    /// The entry whose StartupWMClass this is, else (unless case matters) the one where it differs only in case;
    /// visible entries win.
    const IndexEntry *byStartupClass(const QString &wmClass, Qt::CaseSensitivity sensitivity) const;
    /// The only entry whose identifier ends in ".name", whatever the case.
    const IndexEntry *byLastComponent(const QString &name) const;
    /// The entries whose command runs a program of this file name (without folder).
    QList<const IndexEntry *> byProgram(const QString &baseName) const;

private:
    QList<IndexEntry> m_entries;
    QHash<QString, qsizetype> m_byId;
    QHash<QString, qsizetype> m_byLowerId;
    QHash<QString, qsizetype> m_byClass;
    QHash<QString, qsizetype> m_byLastComponent; ///< -1 when several share it
    QMultiHash<QString, qsizetype> m_byProgram;
};

/// The file name of the program that a command line runs: past `env`, and past an interpreter to its script.
/// Empty when the command does not tell.
QString programOf(const QStringList &arguments);
/// The same with its folder, as the command states it, and where in the arguments it stands.
struct Program {
    QString path;
    QStringList arguments; ///< what follows it

    QString baseName() const { return path.mid(path.lastIndexOf(u'/') + 1); }
};
Program programIn(const QStringList &arguments);

} // namespace cobblet
