#pragma once

#include "platform/IntentsHost.h"

#include <QLocale>

namespace cobblet {

class ConfigManager;
struct AppGroup;

/// The group as it is called now.
GroupEntity entityOf(const AppGroup &group);

/// A text as it is compared with names: without regard to case, under this locale, and to how its characters are
/// composed.
QString foldedForComparison(const QString &text, const QLocale &locale);

/// Finds groups. Every answer is in list order and from the list as it is at the moment of the call.
class GroupQuery {
public:
    /// A longer name or search text is not looked for at all.
    static constexpr qsizetype maximumText = 1000;

    explicit GroupQuery(const ConfigManager &config, const QLocale &locale = {}) : m_config(config), m_locale(locale)
    {
    }

    /// Unknown identifiers are absent from the answer.
    QList<GroupEntity> entitiesFor(const QList<QUuid> &identifiers) const;
    /// Those whose name contains the text, without regard to case under the person's locale.
    QList<GroupEntity> entitiesMatching(const QString &text) const;
    /// All of them: what a parameter can be chosen from.
    QList<GroupEntity> suggestedEntities() const;

    /// The group that a person means: by id in any letter case, else by exact name, else by name without regard to
    /// case and to extra white space. Most Used is meant by its reserved id only. A name that several groups have is
    /// an AmbiguousGroup with all of them.
    Result<GroupEntity, IntentFailure> resolve(const QString &nameOrId) const;

    const QLocale &locale() const { return m_locale; }

private:
    template<class Predicate>
    QList<GroupEntity> entitiesWhere(Predicate predicate) const;

    const ConfigManager &m_config;
    QLocale m_locale;
};

} // namespace cobblet
