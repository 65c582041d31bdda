#pragma once

#include <QMap>
#include <QString>
#include <QStringList>

namespace cobblet {

/// Where desktop entries lie: the "applications" folders of the XDG data directories, the user's own first.
/// An identifier names the file "id.desktop" in the first folder that has it; dashes of the identifier may
/// stand for sub-folders.
class ApplicationFolders {
public:
    explicit ApplicationFolders(QStringList folders) : m_folders(std::move(folders)) {}

    /// From XDG_DATA_HOME and XDG_DATA_DIRS.
    static ApplicationFolders ofThisUser();

    const QStringList &folders() const { return m_folders; }

    /// The file that an identifier stands for; empty when there is none. What the file says is not looked at.
    QString locate(const QString &id) const;
    /// All identifiers with their files; bounded.
    QMap<QString, QString> all() const;
    /// The identifier of a file inside one of the folders; empty for any other file.
    QString idOf(const QString &path) const;

private:
    QStringList m_folders;
};

/// The XDG data directories, the user's own first; relative entries are ignored.
QStringList xdgDataFolders();
/// The XDG configuration directories, the user's own first.
QStringList xdgConfigFolders();

} // namespace cobblet
