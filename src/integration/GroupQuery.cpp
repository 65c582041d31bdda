#include "integration/GroupQuery.h"

#include "integration/GroupIntents.h"
#include "model/ConfigManager.h"
#include "model/GroupCoding.h"

#include <QSet>

namespace cobblet {

namespace {

IntentFailure ambiguous(const QString &name, const QList<GroupEntity> &groups)
{
    IntentFailure failure{IntentFailure::Kind::AmbiguousGroup,
                          QStringLiteral("There are %1 groups named “%2”. Use an id:").arg(groups.size()).arg(name),
                          groups};
    for (const GroupEntity &group : groups)
        failure.message += QLatin1Char('\n') + uuidText(group.id) + QLatin1Char(' ') + group.name.simplified();
    return failure;
}

} // namespace

GroupEntity entityOf(const AppGroup &group)
{
    return {group.id, group.name, group.emoji};
}

QString foldedForComparison(const QString &text, const QLocale &locale)
{
    // The locale knows its own pairs of letters, the folding those that depend on no locale (a final "ς").
    return locale.toLower(text.normalized(QString::NormalizationForm_C)).toCaseFolded();
}

template<class Predicate>
QList<GroupEntity> GroupQuery::entitiesWhere(Predicate predicate) const
{
    QList<GroupEntity> entities;
    for (const AppGroup &group : m_config.groups())
        if (predicate(group))
            entities.append(entityOf(group));
    return entities;
}

QList<GroupEntity> GroupQuery::entitiesFor(const QList<QUuid> &identifiers) const
{
    const QSet<QUuid> wanted(identifiers.begin(), identifiers.end());
    return entitiesWhere([&](const AppGroup &group) { return wanted.contains(group.id); });
}

QList<GroupEntity> GroupQuery::entitiesMatching(const QString &text) const
{
    if (text.size() > maximumText)
        return {};
    const QString folded = foldedForComparison(text, m_locale);
    return entitiesWhere(
        [&](const AppGroup &group) { return foldedForComparison(group.name, m_locale).contains(folded); });
}

QList<GroupEntity> GroupQuery::suggestedEntities() const
{
    return entitiesWhere([](const AppGroup &) { return true; });
}

Result<GroupEntity, IntentFailure> GroupQuery::resolve(const QString &nameOrId) const
{
    if (nameOrId.isEmpty())
        return IntentFailure{IntentFailure::Kind::Invalid, QStringLiteral("Say which group: its name or id."), {}};
    if (nameOrId.size() > maximumText)
        return IntentFailure{
            IntentFailure::Kind::Invalid, QStringLiteral("A group is named by at most 1,000 characters."), {}};
    if (const auto id = parseUuid(nameOrId)) {
        if (*id == AppGroup::mostUsedID)
            return entityOf(AppGroup::mostUsed());
        if (const AppGroup *group = m_config.group(*id))
            return entityOf(*group);
    }

    QList<GroupEntity> named = entitiesWhere([&](const AppGroup &group) { return group.name == nameOrId; });
    if (named.isEmpty()) {
        const QString folded = foldedForComparison(nameOrId.simplified(), m_locale);
        named = entitiesWhere(
            [&](const AppGroup &group) { return foldedForComparison(group.name.simplified(), m_locale) == folded; });
    }
    if (named.isEmpty())
        return GroupIntentError::groupNotFound(nameOrId);
    if (named.size() > 1)
        return ambiguous(nameOrId, named);
    return named.first();
}

} // namespace cobblet
