#pragma once

#include <QByteArray>
#include <QHash>
#include <QStringList>

#include <functional>

namespace cobblet {

/// Which application opens a MIME type or a URL scheme ("x-scheme-handler/mailto") by default: the user's and
/// the system's mimeapps.list files, then the applications that announce the type. Files are read on first use.
class MimeDefaults {
public:
    /// Configuration folders, application folders (each in order of precedence), and the desktop's names,
    /// whose own "name-mimeapps.list" come first.
    MimeDefaults(QStringList configFolders, QStringList applicationFolders, QStringList desktops);

    /// The first application in order of preference that `installed` accepts; empty when there is none.
    QString defaultFor(const QByteArray &type, const std::function<bool(const QString &id)> &installed);
    /// Reads the files again on the next use.
    void forget();
    /// The names of the files that are looked for in a folder.
    QStringList fileNames() const;

private:
    void load();

    QStringList m_configFolders;
    QStringList m_applicationFolders;
    QStringList m_desktops;
    bool m_loaded = false;
    struct Choice {
        QStringList defaults;
        QStringList added;
        QStringList removed;
        QStringList announced;
    };
    QHash<QByteArray, Choice> m_choices;
};

} // namespace cobblet
