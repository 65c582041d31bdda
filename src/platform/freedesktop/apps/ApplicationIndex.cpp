#include "platform/freedesktop/apps/ApplicationIndex.h"

#include <algorithm>

namespace cobblet {

namespace {

QString lastComponent(const QString &id)
{
    return id.mid(id.lastIndexOf(u'.') + 1).toLower();
}

bool isVersionSuffix(QStringView text)
{
    return std::all_of(text.begin(), text.end(), [](QChar c) { return c.isDigit() || c == u'.' || c == u'-'; });
}

/// Programs that run another one named in their arguments. "python3.11" counts as "python".
bool isInterpreter(const QString &baseName)
{
    static const QStringList names =
        QStringLiteral(
            "python pypy perl ruby node nodejs electron gjs gjs-console java mono wine wine64 wine-preloader "
            "wine64-preloader wish tclsh lua guile php qml love bash sh dash zsh fish")
            .split(u' ');
    return std::any_of(names.begin(), names.end(), [&](const QString &name) {
        return baseName.startsWith(name) && isVersionSuffix(QStringView(baseName).mid(name.size()));
    });
}

} // namespace

Program programIn(const QStringList &given)
{
    const QStringList arguments = withoutEnvPrefix(given);
    if (arguments.isEmpty())
        return {};
    Program program{arguments.first(), arguments.mid(1)};
    if (!isInterpreter(program.baseName()))
        return program;
    for (qsizetype i = 1; i < arguments.size(); ++i) {
        const QString &argument = arguments.at(i);
        // What follows these is program text or a module, not a program's file.
        if (argument == u"-c" || argument == u"-e" || argument == u"-m" || argument == u"--eval")
            break;
        if (argument == u"-cp" || argument == u"-classpath" || argument == u"--class-path") {
            ++i;
            continue;
        }
        if (!argument.isEmpty() && !argument.startsWith(u'-'))
            return {argument, arguments.mid(i + 1)};
    }
    return program;
}

QString programOf(const QStringList &arguments)
{
    return programIn(arguments).baseName();
}

ApplicationIndex::ApplicationIndex(QList<IndexEntry> entries) : m_entries(std::move(entries))
{
    std::sort(m_entries.begin(), m_entries.end(), [](const auto &a, const auto &b) { return a.id < b.id; });
    for (qsizetype i = 0; i < m_entries.size(); ++i) {
        const IndexEntry &item = m_entries.at(i);
        m_byId.insert(item.id, i);
        if (const QString lower = item.id.toLower(); !m_byLowerId.contains(lower))
            m_byLowerId.insert(lower, i);
        if (const QString &wmClass = item.entry.startupWMClass; !wmClass.isEmpty()) {
            for (const QString &key : {wmClass, wmClass.toLower()}) {
                const auto known = m_byClass.constFind(key);
                if (known == m_byClass.cend() || (!m_entries.at(*known).visible && item.visible))
                    m_byClass.insert(key, i);
            }
        }
        if (item.id.contains(u'.')) {
            const QString last = lastComponent(item.id);
            m_byLastComponent.insert(last, m_byLastComponent.contains(last) ? -1 : i);
        }
        if (const QString program = programOf(item.entry.exec); !program.isEmpty())
            m_byProgram.insert(program, i);
    }
}

const IndexEntry *ApplicationIndex::byId(const QString &id) const
{
    auto found = m_byId.constFind(id);
    if (found != m_byId.cend())
        return &m_entries.at(*found);
    found = m_byLowerId.constFind(id.toLower());
    return found != m_byLowerId.cend() ? &m_entries.at(*found) : nullptr;
}

const IndexEntry *ApplicationIndex::byStartupClass(const QString &wmClass, Qt::CaseSensitivity sensitivity) const
{
    auto found = m_byClass.constFind(wmClass);
    if (found == m_byClass.cend())
        found = m_byClass.constFind(wmClass.toLower());
    if (found == m_byClass.cend() || wmClass.isEmpty())
        return nullptr;
    const IndexEntry &item = m_entries.at(*found);
    return sensitivity == Qt::CaseInsensitive || item.entry.startupWMClass == wmClass ? &item : nullptr;
}

const IndexEntry *ApplicationIndex::byLastComponent(const QString &name) const
{
    const auto found = m_byLastComponent.constFind(name.toLower());
    return found != m_byLastComponent.cend() && *found >= 0 ? &m_entries.at(*found) : nullptr;
}

QList<const IndexEntry *> ApplicationIndex::byProgram(const QString &baseName) const
{
    QList<qsizetype> places = m_byProgram.values(baseName);
    std::sort(places.begin(), places.end());
    QList<const IndexEntry *> found;
    for (const qsizetype place : places)
        found.append(&m_entries.at(place));
    return found;
}

} // namespace cobblet
