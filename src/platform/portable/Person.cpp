#include "platform/Person.h"

#include <QDir>
#include <QRegularExpression>
#include <QSysInfo>

#include <algorithm>

#include <pwd.h>
#include <unistd.h>

namespace cobblet {

namespace {

/// Without what is no text, or nobody's, and the longest first: a short one may be part of a long one.
QStringList usable(QStringList texts)
{
    for (QString &text : texts)
        text = text.trimmed();
    texts.removeDuplicates();
    texts.removeIf(
        [](const QString &text) { return text.isEmpty() || text == u"/" || text == u"." || text == u"~"; });
    std::ranges::stable_sort(texts, [](const QString &a, const QString &b) { return a.size() > b.size(); });
    return texts;
}

} // namespace

Person Person::ofThisProcess()
{
    const QString home = QDir::homePath();
    const QString host = QSysInfo::machineHostName();
    Person person{{home, QDir(home).canonicalPath()},
                  {qEnvironmentVariable("USER"), qEnvironmentVariable("LOGNAME"), host, host.section(u'.', 0, 0)}};
    if (const passwd *user = ::getpwuid(::getuid())) {
        person.homes.append(QString::fromLocal8Bit(user->pw_dir));
        person.names.append(QString::fromLocal8Bit(user->pw_name));
        person.names.append(QString::fromLocal8Bit(user->pw_gecos).section(u',', 0, 0));
    }
    return person;
}

QString Person::removedFrom(QString text) const
{
    for (const QString &home : usable(homes)) {
        // "/home/a" is no part of "/home/ab".
        const QRegularExpression path(QRegularExpression::escape(QDir::cleanPath(home)) +
                                          QStringLiteral("(?![\\w-]|\\.\\w)"),
                                      QRegularExpression::UseUnicodePropertiesOption);
        text.replace(path, QStringLiteral("~"));
    }
    for (const QString &name : usable(names))
        text.replace(name, QStringLiteral("…"), Qt::CaseInsensitive);
    return text;
}

} // namespace cobblet
