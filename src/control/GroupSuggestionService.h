#pragma once

#include "control/GroupSuggestions.h"
#include "platform/Scheduler.h"

#include <QObject>
#include <QThreadPool>

#include <optional>

namespace cobblet {

class ConfigManager;
class UserDefaults;

/// Suggests new groups from what is opened together on this machine: when somebody looks, and once a day. A
/// suggestion keeps its id, name and emoji while it lasts. Main thread; what takes time is done on another one.
class GroupSuggestionService : public QObject {
    Q_OBJECT
public:
    /// Suggestions and dismissals are kept in `standardDefaults`.
    GroupSuggestionService(const UsageTracker &usage, const ConfigManager &config, Workspace &workspace,
                           UserDefaults &standardDefaults, Scheduler &scheduler, QObject *parent = nullptr);
    ~GroupSuggestionService() override;

    /// At most three, the best founded first; empty until the first refresh() is done. One whose group comes into
    /// being goes by itself.
    QList<SuggestedGroup> suggestions() const { return m_suggestions; }
    /// From refresh() until its suggestions are there.
    bool isLoading() const { return m_isLoading; }
    /// Why the last dismissal could not be kept: a sentence; empty when it could.
    QString errorMessage() const { return m_errorMessage; }

    /// Looks for suggestions again, and returns at once.
    void refresh();
    /// Takes the suggestion off the list and makes a group of it, which is the caller's to add; absent when there is
    /// no such suggestion any more.
    std::optional<AppGroup> add(const QUuid &id);
    /// Takes the suggestion off the list. It is not made again, and nothing that is nearly the same.
    void dismiss(const QUuid &id);

signals:
    void suggestionsChanged();
    void isLoadingChanged();
    void errorMessageChanged();

private:
    void compute(const QList<InstalledApplication> &applications);
    void finish(const QList<SuggestedGroup> &suggestions);
    void publish(const QList<SuggestedGroup> &suggestions);
    std::optional<SuggestedGroup> taken(const QUuid &id);
    /// Those that neither a group nor a dismissal covers.
    QList<SuggestedGroup> stillNew(QList<SuggestedGroup> suggestions) const;
    void setLoading(bool loading);

    const UsageTracker &m_usage;
    const ConfigManager &m_config;
    Workspace &m_workspace;
    UserDefaults &m_defaults;
    Scheduler &m_scheduler;
    QList<SuggestedGroup> m_suggestions;
    QString m_errorMessage;
    bool m_isLoading = false;
    Scheduler::Handle m_tomorrow;
    QThreadPool m_worker;
};

} // namespace cobblet
