#include "platform/freedesktop/apps/DesktopEntryWriter.h"

namespace cobblet {

namespace {

/// The escapes that every value of the format has.
QString escaped(const QString &value)
{
    QString text;
    for (qsizetype i = 0; i < value.size(); ++i) {
        const QChar c = value[i];
        const bool atEdge = i == 0 || i == value.size() - 1; // where readers drop a blank
        if (c == u'\\')
            text += QStringLiteral("\\\\");
        else if (c == u'\n')
            text += QStringLiteral("\\n");
        else if (c == u'\r')
            text += QStringLiteral("\\r");
        else if (c == u'\t')
            text += QStringLiteral("\\t");
        else if (c == u' ' && atEdge)
            text += QStringLiteral("\\s");
        else if (c.category() != QChar::Other_Control)
            text += c;
    }
    return text;
}

/// One argument of a command, which is quoted before the value is escaped.
QString quoted(const QString &argument)
{
    QString text(u'"');
    for (const QChar c : argument) {
        if (c == u'"' || c == u'`' || c == u'$' || c == u'\\')
            text += u'\\';
        else if (c == u'%')
            text += u'%';
        text += c;
    }
    return text + u'"';
}

} // namespace

void DesktopEntryWriter::group(const QByteArray &name)
{
    m_bytes += (m_bytes.isEmpty() ? "[" : "\n[") + name + "]\n";
}

void DesktopEntryWriter::text(const char *key, const QString &value)
{
    line(key, value.size() > maximumText ? value.left(maximumText - 1) + QChar(0x2026) : value);
}

void DesktopEntryWriter::list(const char *key, const QStringList &values)
{
    QString text;
    for (QString value : values)
        text += value.replace(u'\\', QStringLiteral("\\\\")).replace(u';', QStringLiteral("\\;")) + u';';
    m_bytes += key + ('=' + text.toUtf8()) + '\n';
}

void DesktopEntryWriter::command(const char *key, const QStringList &arguments)
{
    QStringList words;
    // GIO looks for the program under its name as it is written, with percent signs doubled, and ignores the entry
    // when there is none.
    if (arguments.first().contains(u'%'))
        words.append(QStringLiteral("/usr/bin/env"));
    for (const QString &argument : arguments)
        words.append(quoted(argument));
    line(key, words.join(u' '));
}

bool DesktopEntryWriter::canRun(const QString &program)
{
    // env would take it for a variable.
    return !(program.contains(u'%') && program.contains(u'='));
}

void DesktopEntryWriter::line(const char *key, const QString &value)
{
    m_bytes += key + ('=' + escaped(value).toUtf8()) + '\n';
}

} // namespace cobblet
