#pragma once

#include "platform/freedesktop/bus/ProgramObject.h"

namespace cobblet {

/// The search of GNOME Shell, which asks at each typed letter: the methods of SearchProvider.xml.
class SearchProviderObject : public QObject, protected QDBusContext {
    Q_OBJECT
public:
    /// The program outlives this object. `icon` is a name in the icon theme.
    SearchProviderObject(ProgramObject &program, QString icon) : m_program(program), m_icon(std::move(icon)) {}

    /// Whether the search has asked since this object was made.
    bool wasAsked() const { return m_asked; }

    QStringList GetInitialResultSet(const QStringList &terms);
    /// Searches anew: a phrase has its first result only with its last word.
    QStringList GetSubsearchResultSet(const QStringList &, const QStringList &terms)
    {
        return GetInitialResultSet(terms);
    }
    VariantMapList GetResultMetas(const QStringList &identifiers);
    void ActivateResult(const QString &identifier, const QStringList &, uint timestamp);
    void LaunchSearch(const QStringList &, uint timestamp);

private:
    ProgramObject &m_program;
    const QString m_icon;
    bool m_asked = false;
};

/// KRunner, which asks in the same way: the methods of Runner.xml.
class RunnerObject : public QObject, protected QDBusContext {
    Q_OBJECT
public:
    /// The same.
    RunnerObject(ProgramObject &program, QString icon) : m_program(program), m_icon(std::move(icon)) {}

    /// The same.
    bool wasAsked() const { return m_asked; }

    GroupList Actions() { return {}; }
    QVariantMap Config() { return {}; }
    RunnerMatchList Match(const QString &query);
    void SetActivationToken(const QString &token);
    void Run(const QString &matchId, const QString &actionId);
    void Teardown() {}

private:
    ProgramObject &m_program;
    const QString m_icon;
    bool m_asked = false;
    QString m_token; ///< announced for the Run that follows
};

} // namespace cobblet
