#include "control/GroupSuggestionService.h"

#include "model/ConfigManager.h"
#include "model/GroupCoding.h"
#include "platform/UserDefaults.h"

#include <QPointer>

#include <algorithm>
#include <future>

namespace cobblet {

namespace {

using namespace std::chrono_literals;

const auto suggestedKey = QStringLiteral("suggestedGroups");
const auto dismissedKey = QStringLiteral("dismissedSuggestions");
constexpr auto day = 24h;
constexpr qsizetype mostDismissed = 100; ///< the newest

QList<AppGroup> stored(const UserDefaults &defaults, const QString &key, qsizetype newest)
{
    const auto groups = decodeGroups(defaults.data(key).value_or(QByteArray()));
    return groups ? groups.value().last(std::min(groups.value().size(), newest)) : QList<AppGroup>();
}

AppGroup asGroup(const SuggestedGroup &suggestion)
{
    AppGroup group; // with an id of its own: the same may be suggested again after its group was changed or deleted
    group.name = suggestion.name;
    group.emoji = suggestion.emoji;
    group.apps = suggestion.apps;
    return group;
}

} // namespace

GroupSuggestionService::GroupSuggestionService(const UsageTracker &usage, const ConfigManager &config,
                                               Workspace &workspace, UserDefaults &standardDefaults,
                                               Scheduler &scheduler, QObject *parent)
    : QObject(parent), m_usage(usage), m_config(config), m_workspace(workspace), m_defaults(standardDefaults),
      m_scheduler(scheduler), m_tomorrow(scheduler.after(day, [this] { refresh(); }))
{
    m_worker.setMaxThreadCount(1);
    connect(&config, &ConfigManager::groupsChanged, this, [this] {
        if (!m_suggestions.isEmpty())
            publish(stillNew(m_suggestions));
    });
}

GroupSuggestionService::~GroupSuggestionService()
{
    m_worker.waitForDone();
}

void GroupSuggestionService::refresh()
{
    if (m_isLoading)
        return;
    setLoading(true);
    m_tomorrow = m_scheduler.after(day, [this] { refresh(); });
    m_workspace.listApplications([self = QPointer(this)](const QList<InstalledApplication> &applications) {
        if (self)
            self->compute(applications);
    });
}

void GroupSuggestionService::compute(const QList<InstalledApplication> &applications)
{
    SuggestionInput input{.counts = m_usage.counts(),
                          .pairs = m_usage.cooccurrence(),
                          .today = m_scheduler.now().date(),
                          .groups = m_config.groups(),
                          .previous = m_suggestions,
                          .dismissed = stored(m_defaults, dismissedKey, mostDismissed),
                          .applications = applications,
                          .counterparts = {}};
    if (input.previous.isEmpty()) // of an earlier process
        for (const AppGroup &group : stored(m_defaults, suggestedKey, mostSuggestions))
            input.previous.append({group.id, group.name, group.emoji, group.apps, {}});
    const auto note = [&](const QString &identifier) {
        if (QString here = m_workspace.resolved(identifier); here != identifier)
            input.counterparts.insert(identifier, std::move(here));
    };
    for (auto it = input.counts.begin(); it != input.counts.end(); ++it)
        note(it.key());
    for (auto it = input.pairs.begin(); it != input.pairs.end(); ++it)
        note(it.key());
    for (const QList<AppGroup> *groups : {&input.groups, &input.dismissed})
        for (const AppGroup &group : *groups)
            for (const AppItem &app : group.apps)
                note(app.bundleID);

    // Handed over in a future, which the thread sanitizer sees; the toolkit's queue it does not.
    const auto result = std::make_shared<std::promise<QList<SuggestedGroup>>>();
    m_worker.start([this, result, input = std::move(input)] {
        result->set_value(suggestedGroups(input));
        QMetaObject::invokeMethod(
            this, [this, result] { finish(result->get_future().get()); }, Qt::QueuedConnection);
    });
}

void GroupSuggestionService::finish(const QList<SuggestedGroup> &suggestions)
{
    publish(stillNew(suggestions)); // groups may have changed meanwhile
    QList<AppGroup> kept;
    for (const SuggestedGroup &suggestion : std::as_const(m_suggestions)) {
        kept.append(asGroup(suggestion));
        kept.last().id = suggestion.id;
    }
    if (const QByteArray bytes = encodeGroups(kept); m_defaults.data(suggestedKey) != bytes)
        (void)m_defaults.set(suggestedKey, bytes); // which only keeps them as they are over a restart
    setLoading(false);
}

void GroupSuggestionService::publish(const QList<SuggestedGroup> &suggestions)
{
    if (suggestions == m_suggestions)
        return;
    m_suggestions = suggestions;
    emit suggestionsChanged();
}

QList<SuggestedGroup> GroupSuggestionService::stillNew(QList<SuggestedGroup> suggestions) const
{
    const auto identifiers = [this](const QList<AppItem> &apps) {
        QSet<QString> ids;
        for (const AppItem &app : apps)
            ids.insert(m_workspace.resolved(app.bundleID));
        return ids;
    };
    for (const QList<AppGroup> &known : {m_config.groups(), stored(m_defaults, dismissedKey, mostDismissed)})
        suggestions.removeIf([&](const SuggestedGroup &suggestion) {
            return std::any_of(known.begin(), known.end(), [&](const AppGroup &group) {
                return coversNearly(identifiers(group.apps), identifiers(suggestion.apps));
            });
        });
    return suggestions;
}

std::optional<SuggestedGroup> GroupSuggestionService::taken(const QUuid &id)
{
    QList<SuggestedGroup> left = m_suggestions;
    const auto it = std::find_if(left.begin(), left.end(), [&](const SuggestedGroup &each) { return each.id == id; });
    if (it == left.end())
        return std::nullopt;
    SuggestedGroup suggestion = *it;
    left.erase(it);
    publish(left);
    return suggestion;
}

std::optional<AppGroup> GroupSuggestionService::add(const QUuid &id)
{
    const auto suggestion = taken(id);
    return suggestion ? std::optional(asGroup(*suggestion)) : std::nullopt;
}

void GroupSuggestionService::dismiss(const QUuid &id)
{
    const auto suggestion = taken(id);
    if (!suggestion)
        return;
    m_defaults.synchronize();
    QList<AppGroup> dismissed = stored(m_defaults, dismissedKey, mostDismissed - 1);
    dismissed.append(asGroup(*suggestion));
    const QString message = m_defaults.set(dismissedKey, encodeGroups(dismissed)).error();
    if (message == m_errorMessage)
        return;
    m_errorMessage = message;
    emit errorMessageChanged();
}

void GroupSuggestionService::setLoading(bool loading)
{
    m_isLoading = loading;
    emit isLoadingChanged();
}

} // namespace cobblet
