#include "model/ConfigManager.h"
#include "model/GroupCoding.h"
#include "platform/AtomicFile.h"
#include "platform/UserDefaults.h"

#include <QDateTime>
#include <QFileInfo>

namespace cobblet {

namespace {

QString counted(qint64 number, const QString &what)
{
    return QStringLiteral("%1 %2%3").arg(number).arg(what, number == 1 ? QString() : QStringLiteral("s"));
}

/// How long ago that was: "3 minutes ago".
QString ageOf(const QDateTime &date)
{
    const qint64 minutes = date.secsTo(QDateTime::currentDateTime()) / 60;
    if (minutes < 1)
        return QStringLiteral("just now");
    const QString age = minutes < 60        ? counted(minutes, QStringLiteral("minute"))
                        : minutes < 60 * 48 ? counted(minutes / 60, QStringLiteral("hour"))
                                            : counted(minutes / (60 * 24), QStringLiteral("day"));
    return age + QStringLiteral(" ago");
}

} // namespace

QList<Capability> ConfigManager::storage() const
{
    return {{QStringLiteral("Groups"), fileState()}, {QStringLiteral("Second copy of the groups"), copyState()}};
}

Availability ConfigManager::fileState() const
{
    const QString &path = m_file.path();
    if (!m_fileWrite)
        return Availability::unavailable(
            QStringLiteral("Changes are kept in memory and in the preferences only. %1").arg(m_fileWrite.error()));
    const QFileInfo file(path);
    if (!file.exists())
        return Availability::partly(
            QStringLiteral("There is no file %1: the second copy stands in until the next change.").arg(path));
    if (m_file.isBad())
        return Availability::partly(
            QStringLiteral("%1 is damaged, or still being written: the second copy stands in until the next change.")
                .arg(path));
    const QString kept =
        QStringLiteral("%1 in %2, written %3.")
            .arg(counted(m_groups.size(), QStringLiteral("group")), path, ageOf(file.lastModified()));
    const QString aside = asideSentence(path);
    return aside.isEmpty() ? Availability::works(kept) : Availability::partly(kept + QLatin1Char(' ') + aside);
}

Availability ConfigManager::copyState() const
{
    const auto bytes = m_defaults.data(groupsCopyKey);
    if (!bytes)
        return Availability::partly(QStringLiteral("The preferences hold no copy: the next change makes one."));
    const auto copy = decodeGroups(*bytes);
    if (!copy)
        return Availability::partly(
            QStringLiteral("The copy is of no use, and the next change replaces it. %1").arg(copy.error()));
    const auto stored = m_defaults.lastStored();
    const QString when = stored ? QStringLiteral(", in preferences stored %1").arg(ageOf(*stored)) : QString();
    const QString count = counted(copy.value().size(), QStringLiteral("group"));
    if (copy.value() != m_groups)
        return Availability::partly(
            QStringLiteral("%1 of another time than the file%2: the next change brings them up to date.")
                .arg(count, when));
    return Availability::works(QStringLiteral("The same %1%2.").arg(count, when));
}

} // namespace cobblet
