#include "platform/freedesktop/apps/DesktopEntry.h"

#include "platform/freedesktop/apps/KeyFile.h"

#include <QUrl>

#include <algorithm>

namespace cobblet {

namespace {

QByteArrayList loweredList(const QString &text)
{
    QByteArrayList list = text.toLower().toUtf8().split(';');
    list.removeAll(QByteArray());
    return list;
}

/// A word of a command line with what its field codes stand for.
QString expanded(const QString &word, const ExecFields &fields, const QStringList &paths)
{
    QString text;
    for (qsizetype i = 0; i < word.size(); ++i) {
        if (word.at(i) != u'%' || i + 1 == word.size()) {
            text += word.at(i);
            continue;
        }
        switch (word.at(++i).unicode()) {
        case u'%':
            text += u'%';
            break;
        case u'c':
            text += fields.name;
            break;
        case u'k':
            text += fields.path;
            break;
        case u'u':
            text += fields.uris.value(0);
            break;
        case u'f':
            text += paths.value(0);
            break;
        default:
            break; // codes that are no longer in use stand for nothing
        }
    }
    return text;
}

} // namespace

DesktopEntry::DesktopEntry(const KeyFile &file)
{
    const auto text = [&](const char *key) { return file.text("Desktop Entry", key); };
    exec = expandExec(text("Exec"));
    startupWMClass = text("StartupWMClass");
    snapInstance = text("X-SnapInstanceName");
    flatpak = text("X-Flatpak");
    categories = loweredList(text("Categories"));
    keywords = loweredList(text("Keywords"));
}

QStringList expandExec(const QString &command, const ExecFields &fields)
{
    char **parsed = nullptr;
    if (!g_shell_parse_argv(command.toUtf8().constData(), nullptr, &parsed, nullptr))
        return {};
    const std::unique_ptr<char *, Releasing<g_strfreev>> words(parsed);
    QStringList paths;
    for (const QString &uri : fields.uris)
        if (const QUrl url(uri); url.isLocalFile())
            paths.append(url.toLocalFile());
    QStringList arguments;
    bool takesFiles = false;
    for (char **each = parsed; *each; ++each) {
        const QString word = QString::fromUtf8(*each);
        if (word == u"%U" || word == u"%F")
            arguments += word == u"%U" ? fields.uris : paths;
        else if (word == u"%i")
            arguments += fields.icon.isEmpty() ? QStringList() : QStringList{QStringLiteral("--icon"), fields.icon};
        else if (const QString argument = expanded(word, fields, paths); !argument.isEmpty() || word.isEmpty())
            arguments.append(argument);
        for (const char16_t *code : {u"%u", u"%U", u"%f", u"%F"})
            takesFiles = takesFiles || word.contains(QStringView(code));
    }
    if (!takesFiles && !arguments.isEmpty())
        arguments += paths;
    return arguments;
}

QStringList withoutEnvPrefix(QStringList arguments)
{
    if (arguments.isEmpty() || (arguments.first() != u"env" && !arguments.first().endsWith(u"/env")))
        return arguments;
    const auto program = std::find_if(arguments.begin() + 1, arguments.end(), [](const QString &argument) {
        return !argument.contains(u'=') && !argument.startsWith(u'-');
    });
    arguments.erase(arguments.begin(), program);
    return arguments;
}

QString entryIdFromFileName(const QString &fileName)
{
    QString id = fileName.mid(fileName.lastIndexOf(u'/') + 1);
    if (id.endsWith(u".desktop"))
        id.chop(8);
    if (id.size() > 200 || id.startsWith(u'.') || id.contains(QChar(0)))
        return {};
    return id;
}

} // namespace cobblet
