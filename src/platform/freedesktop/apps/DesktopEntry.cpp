#include "platform/freedesktop/apps/DesktopEntry.h"

#include <QByteArrayView>
#include <QUrl>

#include <algorithm>

namespace cobblet {

namespace {

/// Undoes the escapes of string values: \s \n \t \r \\ .
QString unescaped(QByteArrayView raw)
{
    QByteArray out;
    out.reserve(raw.size());
    for (qsizetype i = 0; i < raw.size(); ++i) {
        if (raw[i] != '\\' || i + 1 == raw.size()) {
            out.append(raw[i]);
            continue;
        }
        switch (raw[++i]) {
        case 's':
            out.append(' ');
            break;
        case 'n':
            out.append('\n');
            break;
        case 't':
            out.append('\t');
            break;
        case 'r':
            out.append('\r');
            break;
        case '\\':
            out.append('\\');
            break;
        default:
            out.append('\\').append(raw[i]);
            break;
        }
    }
    return QString::fromUtf8(out);
}

QByteArrayList loweredList(QByteArrayView raw)
{
    QByteArrayList list = raw.toByteArray().toLower().split(';');
    list.removeAll(QByteArray());
    return list;
}

bool isTrue(QByteArrayView raw)
{
    return raw == "true" || raw == "1";
}

void assign(DesktopEntry &entry, QByteArrayView key, QByteArrayView value)
{
    if (key == "Type")
        entry.isApplication = value == "Application";
    else if (key == "Name")
        entry.name = unescaped(value);
    else if (key == "Exec")
        entry.exec = splitExec(unescaped(value));
    else if (key == "TryExec")
        entry.tryExec = unescaped(value);
    else if (key == "StartupWMClass")
        entry.startupWMClass = unescaped(value);
    else if (key == "X-SnapInstanceName")
        entry.snapInstance = unescaped(value);
    else if (key == "X-Flatpak")
        entry.flatpak = unescaped(value);
    else if (key == "Categories")
        entry.categories = loweredList(value);
    else if (key == "Keywords")
        entry.keywords = loweredList(value);
    else if (key == "OnlyShowIn")
        entry.onlyShowIn = unescaped(value).split(u';', Qt::SkipEmptyParts);
    else if (key == "NotShowIn")
        entry.notShowIn = unescaped(value).split(u';', Qt::SkipEmptyParts);
    else if (key == "Hidden")
        entry.hidden = isTrue(value);
    else if (key == "NoDisplay")
        entry.noDisplay = isTrue(value);
    else if (key == "Terminal")
        entry.terminal = isTrue(value);
}

} // namespace

bool DesktopEntry::isShownIn(const QStringList &desktops) const
{
    for (const QString &desktop : desktops) {
        if (onlyShowIn.contains(desktop))
            return true;
        if (notShowIn.contains(desktop))
            return false;
    }
    return onlyShowIn.isEmpty();
}

std::optional<DesktopEntry> parseDesktopEntry(const QByteArray &bytes)
{
    DesktopEntry entry;
    bool found = false;
    for (qsizetype start = 0; start < bytes.size();) {
        const qsizetype end = bytes.indexOf('\n', start);
        const QByteArrayView line =
            QByteArrayView(bytes).sliced(start, (end < 0 ? bytes.size() : end) - start).trimmed();
        start = end < 0 ? bytes.size() : end + 1;
        if (line.startsWith('[')) {
            if (found)
                break; // the main group comes first and only once
            found = line == "[Desktop Entry]";
            continue;
        }
        const qsizetype equals = line.indexOf('=');
        if (found && equals > 0 && line[0] != '#')
            assign(entry, line.first(equals).trimmed(), line.sliced(equals + 1).trimmed());
    }
    if (!found)
        return std::nullopt;
    return entry;
}

QStringList splitExec(const QString &command)
{
    return expandExec(command, {});
}

QStringList expandExec(const QString &command, const ExecFields &fields)
{
    QStringList arguments;
    QString argument;
    QChar quote; // the one that is open
    bool any = false;
    bool takesFiles = false;
    QStringList paths;
    for (const QString &uri : fields.uris)
        if (const QUrl url(uri); url.isLocalFile())
            paths.append(url.toLocalFile());
    const auto finish = [&] {
        if (any)
            arguments.append(argument);
        argument.clear();
        any = false;
    };
    const auto insert = [&](const QString &text) {
        argument += text;
        any = any || !text.isEmpty();
    };
    const auto insertList = [&](const QStringList &list) {
        finish();
        arguments += list;
    };
    for (qsizetype i = 0; i < command.size(); ++i) {
        const QChar c = command.at(i);
        // Single quotes and backslashes outside quotes are beyond the rules, but many entries use them.
        if ((c == u'"' || c == u'\'') && (quote.isNull() || quote == c)) {
            quote = quote.isNull() ? c : QChar();
            any = true;
        } else if (c == u'\\' && i + 1 < command.size() &&
                   (quote.isNull() || (quote == u'"' && QStringView(u"\"\\$`").contains(command.at(i + 1))))) {
            insert(command.at(++i));
        } else if (c == u'%' && i + 1 < command.size()) {
            switch (command.at(++i).unicode()) {
            case u'%':
                insert(QStringLiteral("%"));
                break;
            case u'c':
                insert(fields.name);
                break;
            case u'k':
                insert(fields.path);
                break;
            case u'i':
                insertList(fields.icon.isEmpty() ? QStringList()
                                                 : QStringList{QStringLiteral("--icon"), fields.icon});
                break;
            case u'u':
                insert(fields.uris.value(0));
                takesFiles = true;
                break;
            case u'f':
                insert(paths.value(0));
                takesFiles = true;
                break;
            case u'U':
                insertList(fields.uris);
                takesFiles = true;
                break;
            case u'F':
                insertList(paths);
                takesFiles = true;
                break;
            default:
                break; // codes that are no longer in use stand for nothing
            }
        } else if (c.isSpace() && quote.isNull()) {
            finish();
        } else {
            argument += c;
            any = true;
        }
    }
    if (!quote.isNull())
        return {};
    finish();
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
