#include "platform/freedesktop/apps/MimeDefaults.h"

#include "platform/AtomicFile.h"
#include "platform/freedesktop/apps/DesktopEntry.h"

#include <QByteArrayView>
#include <QFile>

namespace cobblet {

namespace {

constexpr qint64 maximumBytes = 4 * 1024 * 1024;

/// Calls `line` with (group, key, value) for every entry of a key file.
template<class Line>
void forEachLine(const QString &path, Line line)
{
    if (!QFile::exists(path))
        return;
    const auto bytes = readBounded(path, maximumBytes);
    if (!bytes)
        return;
    QByteArray group;
    for (const QByteArray &raw : bytes.value().split('\n')) {
        const QByteArrayView text = QByteArrayView(raw).trimmed();
        const qsizetype equals = text.indexOf('=');
        if (text.startsWith('[') && text.endsWith(']'))
            group = text.toByteArray();
        else if (equals > 0 && text[0] != '#')
            line(group, text.first(equals).trimmed().toByteArray(), text.sliced(equals + 1).toByteArray());
    }
}

void appendIds(QStringList &list, const QByteArray &value)
{
    for (const QByteArray &name : value.split(';'))
        if (const QString id = entryIdFromFileName(QString::fromUtf8(name.trimmed()));
            !id.isEmpty() && !list.contains(id))
            list.append(id);
}

/// The types that some well-known identifier is decided by; only these are kept in memory.
bool isOfInterest(const QByteArray &type)
{
    static const QByteArrayList types{"text/plain",   "text/html",       "text/calendar",        "text/vcard",
                                      "text/x-vcard", "application/pdf", "application/epub+zip", "application/zip",
                                      "image/jpeg",   "image/png",       "audio/mpeg",           "audio/flac",
                                      "video/mp4",    "inode/directory"};
    return type.startsWith("x-scheme-handler/") || types.contains(type);
}

} // namespace

MimeDefaults::MimeDefaults(QStringList configFolders, QStringList applicationFolders, QStringList desktops)
    : m_configFolders(std::move(configFolders)), m_applicationFolders(std::move(applicationFolders)),
      m_desktops(std::move(desktops))
{
}

QStringList MimeDefaults::fileNames() const
{
    QStringList names;
    for (const QString &desktop : m_desktops)
        names.append(desktop.toLower() + QStringLiteral("-mimeapps.list"));
    names.append(QStringLiteral("mimeapps.list"));
    return names;
}

void MimeDefaults::load()
{
    m_loaded = true;
    for (const QString &folder : m_configFolders + m_applicationFolders)
        for (const QString &name : fileNames())
            forEachLine(folder + u'/' + name,
                        [this](const QByteArray &group, const QByteArray &type, const QByteArray &ids) {
                            if (!isOfInterest(type))
                                return;
                            if (group == "[Default Applications]")
                                appendIds(m_choices[type].defaults, ids);
                            else if (group == "[Added Associations]")
                                appendIds(m_choices[type].added, ids);
                            else if (group == "[Removed Associations]")
                                appendIds(m_choices[type].removed, ids);
                        });
    for (const QString &folder : m_applicationFolders)
        forEachLine(folder + QStringLiteral("/mimeinfo.cache"),
                    [this](const QByteArray &, const QByteArray &type, const QByteArray &ids) {
                        if (isOfInterest(type))
                            appendIds(m_choices[type].announced, ids);
                    });
}

QString MimeDefaults::defaultFor(const QByteArray &type, const std::function<bool(const QString &)> &installed)
{
    if (!m_loaded)
        load();
    const Choice choice = m_choices.value(type);
    for (const QString &id : choice.defaults)
        if (installed(id))
            return id;
    for (const QString &id : choice.added + choice.announced)
        if (!choice.removed.contains(id) && installed(id))
            return id;
    return {};
}

void MimeDefaults::forget()
{
    m_choices.clear();
    m_loaded = false;
}

} // namespace cobblet
