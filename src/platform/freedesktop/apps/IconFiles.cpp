#include "platform/freedesktop/apps/IconFiles.h"

#include "platform/AtomicFile.h"
#include "platform/freedesktop/apps/ApplicationFolders.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMutexLocker>

#include <unistd.h>

#include <algorithm>

namespace cobblet {

namespace {

constexpr qint64 maximumIndexBytes = 2 * 1024 * 1024;
constexpr int maximumThemes = 16;
constexpr qsizetype maximumFolders = 2000;

bool exists(const QByteArray &path)
{
    return ::access(path.constData(), R_OK) == 0;
}

bool isPlainName(const QString &name)
{
    return !name.isEmpty() && name.size() <= 200 && !name.contains(u'/') && !name.contains(QChar(0)) && name != u"..";
}

using Groups = QHash<QByteArray, QHash<QByteArray, QByteArray>>;

Groups readIndex(const QString &path)
{
    Groups groups;
    const auto bytes = readBounded(path, maximumIndexBytes);
    if (!bytes)
        return groups;
    QByteArray group;
    for (const QByteArray &raw : bytes.value().split('\n')) {
        const QByteArray line = raw.trimmed();
        const qsizetype equals = line.indexOf('=');
        if (line.startsWith('[') && line.endsWith(']'))
            group = line.mid(1, line.size() - 2);
        else if (equals > 0 && !line.startsWith('#'))
            groups[group].insert(line.left(equals).trimmed(), line.mid(equals + 1).trimmed());
    }
    return groups;
}

} // namespace

IconFiles::IconFiles(QStringList baseFolders, QStringList pictureFolders, QStringList themes)
    : m_baseFolders(std::move(baseFolders)), m_pictureFolders(std::move(pictureFolders)),
      m_startThemes(std::move(themes))
{
}

QStringList IconFiles::defaultBaseFolders()
{
    QStringList folders{QDir::homePath() + QStringLiteral("/.icons")};
    for (const QString &data : xdgDataFolders())
        folders.append(data + QStringLiteral("/icons"));
    return folders;
}

QStringList IconFiles::defaultPictureFolders()
{
    QStringList folders;
    for (const QString &data : xdgDataFolders())
        folders.append(data + QStringLiteral("/pixmaps"));
    if (const QString usual = QStringLiteral("/usr/share/pixmaps"); !folders.contains(usual))
        folders.append(usual);
    return folders;
}

QString IconFiles::find(const QString &name, int pixels) const
{
    QString stem = name;
    for (const auto extension : {QLatin1String(".png"), QLatin1String(".svg"), QLatin1String(".xpm")})
        if (stem.endsWith(extension))
            stem.chop(extension.size());
    if (!isPlainName(stem))
        return {};
    const QByteArray encoded = QFile::encodeName(stem);
    const QMutexLocker lock(&m_mutex);
    for (const QString &themeName : chain())
        if (QString found = findIn(theme(themeName), encoded, pixels); !found.isEmpty())
            return found;
    for (const QString &folder : m_pictureFolders + m_baseFolders)
        for (const char *extension : {".png", ".svg", ".xpm"})
            if (const QByteArray path = QFile::encodeName(folder) + '/' + encoded + extension; exists(path))
                return QFile::decodeName(path);
    return {};
}

void IconFiles::forget()
{
    const QMutexLocker lock(&m_mutex);
    m_themes.clear();
}

const IconFiles::Theme &IconFiles::theme(const QString &name) const
{
    auto known = m_themes.find(name);
    if (known == m_themes.end())
        known = m_themes.insert(name, readTheme(name));
    return *known;
}

/// Every theme after the ones that name it, "hicolor" last.
QStringList IconFiles::chain() const
{
    const QString last = QStringLiteral("hicolor");
    QStringList names = m_startThemes;
    names.removeAll(last);
    for (qsizetype i = 0; i < names.size() && i < maximumThemes; ++i) {
        qsizetype after = i + 1;
        for (const QString &parent : theme(names.at(i)).inherits)
            if (parent != last && !names.contains(parent))
                names.insert(after++, parent);
    }
    names = names.mid(0, maximumThemes);
    names.append(last);
    return names;
}

IconFiles::Theme IconFiles::readTheme(const QString &name) const
{
    Theme theme;
    if (!isPlainName(name))
        return theme;
    QStringList roots;
    Groups index;
    for (const QString &base : m_baseFolders) {
        const QString root = base + u'/' + name;
        if (!QFileInfo(root).isDir())
            continue;
        roots.append(root);
        // The first description holds for the theme's folders under every base.
        if (const QString file = root + QStringLiteral("/index.theme"); index.isEmpty() && QFile::exists(file))
            index = readIndex(file);
    }
    const auto &main = index.value("Icon Theme");
    for (const QByteArray &parent : main.value("Inherits").split(','))
        if (!parent.trimmed().isEmpty())
            theme.inherits.append(QString::fromUtf8(parent.trimmed()));
    QByteArrayList names = main.value("Directories").split(',') + main.value("ScaledDirectories").split(',');
    names = names.mid(0, maximumFolders);
    for (const QByteArray &raw : names) {
        const QByteArray sub = raw.trimmed();
        const auto group = index.constFind(sub);
        if (sub.isEmpty() || sub.contains("..") || group == index.cend())
            continue;
        const int scale = std::clamp(group->value("Scale", "1").toInt(), 1, 8);
        const int size = std::clamp(group->value("Size", "0").toInt(), 0, 4096);
        const QByteArray context = group->value("Context").toLower();
        for (const QString &root : roots)
            if (const QByteArray path = QFile::encodeName(root) + '/' + sub; exists(path))
                theme.folders.push_back({path, size * scale, group->value("Type").toLower() == "scalable",
                                         context.isEmpty() || context == "applications"});
    }
    theme.folders.shrink_to_fit();
    return theme;
}

QString IconFiles::findIn(const Theme &theme, const QByteArray &name, int pixels)
{
    struct Candidate {
        int rank;
        const Folder *folder;
    };
    std::vector<Candidate> candidates;
    for (const Folder &folder : theme.folders) {
        int rank = 0;
        if (folder.scalable)
            rank = 1;
        else if (folder.pixels > pixels)
            rank = 1 + folder.pixels - pixels;
        else if (folder.pixels < pixels)
            rank = 10000 + pixels - folder.pixels;
        candidates.push_back({rank + (folder.ofApplications ? 0 : 20000), &folder});
    }
    std::stable_sort(candidates.begin(), candidates.end(), [](const auto &a, const auto &b) { return a.rank < b.rank; });
    for (const Candidate &candidate : candidates) {
        const QByteArray stem = candidate.folder->path + '/' + name;
        for (const char *extension : {".png", ".svg", ".xpm"})
            if (const QByteArray path = stem + extension; exists(path))
                return QFile::decodeName(path);
    }
    return {};
}

} // namespace cobblet
