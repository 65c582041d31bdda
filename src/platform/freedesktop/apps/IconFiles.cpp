#include "platform/freedesktop/apps/IconFiles.h"

#include "platform/AtomicFile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMutexLocker>
#include <QStandardPaths>

#include <unistd.h>

#include <algorithm>

namespace cobblet {

namespace {

constexpr qint64 maximumIndexBytes = 2 * 1024 * 1024;
constexpr int maximumThemes = 16;
constexpr size_t maximumFolders = 2000;
const QString lastTheme = QStringLiteral("hicolor");

QStringList dataFolders(const QString &name)
{
    QStringList folders = QStandardPaths::standardLocations(QStandardPaths::GenericDataLocation);
    for (QString &folder : folders)
        folder += name;
    return folders;
}

/// Where themes lie.
QStringList themeFolders()
{
    return QStringList(QDir::homePath() + QStringLiteral("/.icons")) + dataFolders(QStringLiteral("/icons"));
}

bool exists(const QByteArray &path)
{
    return ::access(path.constData(), R_OK) == 0;
}

/// The file of that name in one of the formats; empty when there is none.
QString pictureAt(const QByteArray &stem)
{
    for (const char *extension : {".png", ".svg", ".xpm"})
        if (const QByteArray path = stem + extension; exists(path))
            return QFile::decodeName(path);
    return {};
}

bool isPlainName(const QString &name)
{
    return !name.isEmpty() && name.size() <= 200 && !name.contains(u'/') && !name.contains(QChar(0)) && name != u"..";
}

} // namespace

QString IconFiles::find(const QString &name, int pixels) const
{
    QString stem = name;
    for (const auto extension : {QLatin1String(".png"), QLatin1String(".svg"), QLatin1String(".xpm")})
        if (stem.endsWith(extension))
            stem.chop(extension.size());
    if (!isPlainName(stem))
        return {};
    const QByteArray encoded = QFile::encodeName(stem);
    {
        const QMutexLocker lock(&m_mutex);
        for (const QString &themeName : chain())
            if (QString found = findIn(theme(themeName), encoded, pixels); !found.isEmpty())
                return found;
    }
    for (const QString &folder :
         dataFolders(QStringLiteral("/pixmaps")) + QStringList(QStringLiteral("/usr/share/pixmaps")) + themeFolders())
        if (QString found = pictureAt(QFile::encodeName(folder) + '/' + encoded); !found.isEmpty())
            return found;
    return {};
}

bool IconFiles::hasTheme() const
{
    const QMutexLocker lock(&m_mutex);
    const QStringList names = chain();
    return std::any_of(names.begin(), names.end(), [this](const auto &name) { return !theme(name).folders.empty(); });
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
    QStringList names = m_startThemes;
    names.removeAll(lastTheme);
    for (qsizetype i = 0; i < names.size() && i < maximumThemes; ++i) {
        qsizetype after = i + 1;
        for (const QString &parent : theme(names.at(i)).inherits)
            if (parent != lastTheme && !names.contains(parent))
                names.insert(after++, parent);
    }
    return names.mid(0, maximumThemes) << lastTheme;
}

IconFiles::Theme IconFiles::readTheme(const QString &name)
{
    Theme theme;
    if (!isPlainName(name))
        return theme;
    QByteArrayList roots;
    QByteArray index;
    for (const QString &base : themeFolders()) {
        const QString root = base + u'/' + name;
        if (!QFileInfo(root).isDir())
            continue;
        roots.append(QFile::encodeName(root));
        // The first description holds for the theme's folders under every base.
        if (const QString file = root + QStringLiteral("/index.theme"); index.isEmpty() && QFile::exists(file))
            if (const auto bytes = readBounded(file, maximumIndexBytes))
                index = bytes.value();
    }

    struct Described {
        QByteArray name;
        int size = 0;
        int scale = 1;
        bool scalable = false;
        bool ofApplications = true;
    } current;
    const auto finish = [&] {
        if (!current.name.isEmpty() && !current.name.contains("..") && current.size > 0)
            for (const QByteArray &root : std::as_const(roots))
                if (const QByteArray path = root + '/' + current.name;
                    theme.folders.size() < maximumFolders && exists(path))
                    theme.folders.push_back(
                        {path, current.size * current.scale, current.scalable, current.ofApplications});
    };
    // Line by line, as GLib would keep 680 kB after parsing the description of "hicolor".
    for (const QByteArray &line : index.split('\n')) {
        const QByteArray text = line.trimmed();
        const qsizetype equals = text.indexOf('=');
        if (text.startsWith('[') && text.endsWith(']')) {
            finish();
            current = {.name = text.mid(1, text.size() - 2)};
            continue;
        }
        if (equals <= 0 || text.startsWith('#'))
            continue;
        const QByteArray key = text.left(equals).trimmed();
        const QByteArray value = text.mid(equals + 1).trimmed();
        if (current.name == "Icon Theme") {
            if (key == "Inherits")
                for (const QString &parent : QString::fromUtf8(value).split(u','))
                    if (!parent.trimmed().isEmpty())
                        theme.inherits.append(parent.trimmed());
        } else if (key == "Size") {
            current.size = std::clamp(value.toInt(), 0, 4096);
        } else if (key == "Scale") {
            current.scale = std::clamp(value.toInt(), 1, 8);
        } else if (key == "Type") {
            current.scalable = value.compare("scalable", Qt::CaseInsensitive) == 0;
        } else if (key == "Context") {
            current.ofApplications = value.isEmpty() || value.compare("applications", Qt::CaseInsensitive) == 0;
        }
    }
    finish();
    theme.folders.shrink_to_fit();
    return theme;
}

QString IconFiles::findIn(const Theme &theme, const QByteArray &name, int pixels)
{
    const auto rank = [pixels](const Folder &folder) {
        int rank = folder.ofApplications ? 0 : 20000;
        if (folder.scalable)
            rank += 1;
        else if (folder.pixels > pixels)
            rank += 1 + folder.pixels - pixels;
        else if (folder.pixels < pixels)
            rank += 10000 + pixels - folder.pixels;
        return rank;
    };
    std::vector<std::pair<int, const Folder *>> candidates;
    for (const Folder &folder : theme.folders)
        candidates.emplace_back(rank(folder), &folder);
    std::stable_sort(candidates.begin(), candidates.end(),
                     [](const auto &a, const auto &b) { return a.first < b.first; });
    for (const auto &[_, folder] : candidates)
        if (QString found = pictureAt(folder->path + '/' + name); !found.isEmpty())
            return found;
    return {};
}

} // namespace cobblet
