#include "platform/freedesktop/apps/ApplicationFolders.h"

#include <QDir>
#include <QFile>

#include <dirent.h>
#include <sys/stat.h>

#include <memory>
#include <optional>

namespace cobblet {

namespace {

constexpr int maximumDepth = 4;
constexpr qsizetype maximumEntries = 20000;
const QLatin1String suffix(".desktop");

QStringList xdgFolders(const char *homeVariable, const QString &homeDefault, const char *variable,
                       const char *defaults)
{
    QString own = qEnvironmentVariable(homeVariable);
    if (!QDir::isAbsolutePath(own))
        own = QDir::homePath() + homeDefault;
    QStringList folders{QDir::cleanPath(own)};
    QString system = qEnvironmentVariable(variable);
    if (system.isEmpty())
        system = QString::fromLatin1(defaults);
    for (const QString &folder : system.split(u':', Qt::SkipEmptyParts)) {
        const QString clean = QDir::cleanPath(folder);
        if (QDir::isAbsolutePath(clean) && !folders.contains(clean))
            folders.append(clean);
    }
    return folders;
}

enum class Kind { Missing, Folder, Other };

/// What lies at a path; a link that leads nowhere counts as missing, so that it hides nothing.
Kind kindOf(const QString &path)
{
    struct stat status {};
    if (::stat(QFile::encodeName(path).constData(), &status) != 0)
        return Kind::Missing;
    return S_ISDIR(status.st_mode) ? Kind::Folder : Kind::Other;
}

/// Tries the name as it is, then every sub-folder that its dashes can stand for.
QString locateIn(const QString &folder, const QString &name, int depth)
{
    const QString direct = folder + u'/' + name + suffix;
    if (kindOf(direct) == Kind::Other)
        return direct;
    if (depth == maximumDepth)
        return {};
    for (qsizetype dash = name.indexOf(u'-'); dash > 0; dash = name.indexOf(u'-', dash + 1)) {
        const QString sub = folder + u'/' + name.left(dash);
        if (kindOf(sub) != Kind::Folder)
            continue;
        if (QString found = locateIn(sub, name.mid(dash + 1), depth + 1); !found.isEmpty())
            return found;
    }
    return {};
}

void collect(const QString &folder, const QString &prefix, int depth, QMap<QString, QString> &found)
{
    const std::unique_ptr<DIR, int (*)(DIR *)> directory(opendir(QFile::encodeName(folder).constData()), closedir);
    if (!directory)
        return;
    while (const dirent *item = readdir(directory.get())) {
        if (item->d_name[0] == '.' || found.size() >= maximumEntries)
            continue;
        const QString name = QFile::decodeName(item->d_name);
        const QString path = folder + u'/' + name;
        if (name.endsWith(suffix)) {
            const QString id = prefix + name.chopped(suffix.size());
            if (!found.contains(id) && (item->d_type == DT_REG || kindOf(path) == Kind::Other))
                found.insert(id, path);
        } else if (depth < maximumDepth && item->d_type != DT_REG && kindOf(path) == Kind::Folder) {
            collect(path, prefix + name + u'-', depth + 1, found);
        }
    }
}

} // namespace

QStringList xdgDataFolders()
{
    return xdgFolders("XDG_DATA_HOME", QStringLiteral("/.local/share"), "XDG_DATA_DIRS",
                      "/usr/local/share:/usr/share");
}

QStringList xdgConfigFolders()
{
    return xdgFolders("XDG_CONFIG_HOME", QStringLiteral("/.config"), "XDG_CONFIG_DIRS", "/etc/xdg");
}

ApplicationFolders ApplicationFolders::ofThisUser()
{
    QStringList folders = xdgDataFolders();
    for (QString &folder : folders)
        folder += QStringLiteral("/applications");
    return ApplicationFolders(folders);
}

QString ApplicationFolders::locate(const QString &id) const
{
    if (id.isEmpty() || id.size() > 200 || id.contains(u'/') || id.startsWith(u'.') || id.contains(QChar(0)))
        return {};
    for (const QString &folder : m_folders)
        if (QString found = locateIn(folder, id, 0); !found.isEmpty())
            return found;
    return {};
}

QMap<QString, QString> ApplicationFolders::all() const
{
    QMap<QString, QString> found;
    for (const QString &folder : m_folders)
        collect(folder, {}, 0, found);
    return found;
}

QString ApplicationFolders::idOf(const QString &path) const
{
    if (!path.endsWith(suffix))
        return {};
    for (const QString &folder : m_folders)
        if (path.startsWith(folder + u'/'))
            return path.mid(folder.size() + 1).chopped(suffix.size()).replace(u'/', u'-');
    return {};
}

} // namespace cobblet
