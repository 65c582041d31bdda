#include "control/UsageTracker.h"

#include "platform/AtomicFile.h"
#include "platform/Workspace.h"

#include <QFileInfo>
#include <QHash>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLoggingCategory>

#include <algorithm>
#include <limits>

namespace cobblet {

namespace {

Q_LOGGING_CATEGORY(log, "cobblet.usage")

using namespace std::chrono_literals;
constexpr auto sessionWindow = 1800s;
constexpr int sessionDays = 42; ///< for so long the sessions are kept
constexpr QLatin1Char sessionMark('@');

/// Far more than the launches of any person need; a larger file is not ours.
constexpr qint64 maximumFileBytes = 16 * 1024 * 1024;

/// Never counted, and never what these stand for on this desktop.
constexpr QLatin1String excluded[] = {
    QLatin1String("com.apple.systemuiserver"), QLatin1String("com.apple.dock"),
    QLatin1String("com.apple.WindowManager"),  QLatin1String("com.apple.notificationcenterui"),
    QLatin1String("com.apple.Spotlight"),      QLatin1String("com.apple.finder")};
constexpr QLatin1String excludedPrefixes[] = {QLatin1String("com.apple.WebKit."),
                                              QLatin1String("com.apple.security."),
                                              QLatin1String("com.apple.accessibility.")};

// Adding to a count, or to a table of them; counts stop at the largest number.

void add(qint64 &count, qint64 more)
{
    if (qAddOverflow(count, more, &count))
        count = std::numeric_limits<qint64>::max();
}

template<class Value>
void add(QMap<QString, Value> &table, const QMap<QString, Value> &more)
{
    for (auto it = more.begin(); it != more.end(); ++it)
        add(table[it.key()], it.value());
}

// A count, or a table of counts, as JSON. Reading is false where something else stands; counts below 1 say nothing
// and become 0.

bool read(const QJsonValue &value, qint64 &count)
{
    count = std::max<qint64>(value.toInteger(0), 0);
    return value.toInteger(0) == value.toInteger(1); // two different fallbacks tell a number from anything else
}

template<class Value>
bool read(const QJsonValue &value, QMap<QString, Value> &table)
{
    const QJsonObject object = value.toObject();
    for (auto it = object.begin(); it != object.end(); ++it) {
        Value entry{};
        if (!read(it.value(), entry))
            return false;
        if (entry != Value())
            table.insert(it.key(), entry);
    }
    return value.isObject();
}

QJsonValue written(qint64 count)
{
    return count;
}

template<class Value>
QJsonObject written(const QMap<QString, Value> &table)
{
    QJsonObject object;
    for (auto it = table.begin(); it != table.end(); ++it)
        object.insert(it.key(), written(it.value()));
    return object;
}

// What is not kept any more.

void dropBefore(QDate, UsageTracker::Counts &) {}

void dropBefore(QDate first, UsageTracker::Pairs &table)
{
    for (auto it = table.lowerBound(QString(sessionMark)); it != table.end() && it.key().startsWith(sessionMark);) {
        const QDate day = UsageTracker::sessionDay(it.key());
        it = day.isValid() && day < first ? table.erase(it) : std::next(it);
    }
}

/// The table in the file; absent where there is none that can be read.
template<class Table>
std::optional<Table> load(const QString &path)
{
    if (!QFileInfo::exists(path))
        return std::nullopt;
    Table table;
    const auto bytes = readBounded(path, maximumFileBytes);
    if (!bytes)
        qCWarning(log).noquote() << bytes.error();
    else if (const auto document = QJsonDocument::fromJson(bytes.value());
             document.isObject() && read(document.object(), table))
        return table;
    else
        qCWarning(log).noquote() << QStringLiteral("%1 holds no launch counts; counting starts anew.").arg(path);
    return std::nullopt;
}

template<class Table>
auto stored(const QString &path)
{
    return load<Table>(path).value_or(Table());
}

} // namespace

UsageTracker::UsageTracker(const QString &folder, RunningApplications &running, Workspace &workspace,
                           Scheduler &scheduler, QObject *parent)
    : QObject(parent), m_running(running), m_workspace(workspace), m_scheduler(scheduler),
      m_folder(folder), m_counts{folder + QStringLiteral("/usage-stats.json"), 2s, {}},
      m_pairs{folder + QStringLiteral("/usage-cooccurrence.json"), 5s, {}}
{
    m_counts.table = stored<Counts>(m_counts.path);
    m_pairs.table = stored<Pairs>(m_pairs.path);
    connect(&running, &RunningApplications::didLaunch, this, &UsageTracker::handleAppLaunch);
}

UsageTracker::~UsageTracker()
{
    flush();
}

void UsageTracker::handleAppLaunch(const RunningApplication &application, RunningApplications::Origin origin)
{
    using Origin = RunningApplications::Origin;
    const QString &id = application.bundleIdentifier;
    const bool allSeeIt = m_running.availability().level == Availability::Level::Works;
    if (origin == Origin::Unlaunched)
        return;
    if (allSeeIt ? countsForAll() : origin == Origin::Here)
        return recordLaunch(id);
    if (allSeeIt && !id.isEmpty() && !isExcluded(id)) {
        joinSession(id);
        scheduleSave(m_counts, 2 * m_counts.delay); // to read what the other process has written by then
    }
}

bool UsageTracker::countsForAll()
{
    if (!m_counter || !m_counter->mayWrite())
        m_counter.emplace(m_folder + QStringLiteral("/usage-counter.lock"), 0s);
    return m_counter->mayWrite().ok();
}

bool UsageTracker::isExcluded(const QString &bundleID) const
{
    const QString id = m_workspace.resolved(bundleID);
    return std::any_of(std::begin(excludedPrefixes), std::end(excludedPrefixes),
                       [&](QLatin1String prefix) { return bundleID.startsWith(prefix); }) ||
           std::any_of(std::begin(excluded), std::end(excluded),
                       [&](QLatin1String each) { return id == m_workspace.resolved(each); });
}

void UsageTracker::recordLaunch(const QString &bundleID)
{
    if (bundleID.isEmpty() || isExcluded(bundleID))
        return;
    add(m_counts.table[bundleID], 1);
    add(m_counts.unsaved[bundleID], 1);
    scheduleSave(m_counts, m_counts.delay);

    for (const QString &other : std::as_const(m_sessionApps)) {
        if (m_workspace.resolved(other) == m_workspace.resolved(bundleID))
            continue;
        for (Pairs *table : {&m_pairs.table, &m_pairs.unsaved}) {
            add((*table)[bundleID][other], 1);
            add((*table)[other][bundleID], 1);
        }
    }
    joinSession(bundleID);
    add(m_pairs.table[m_session][bundleID], 1);
    add(m_pairs.unsaved[m_session][bundleID], 1);
    scheduleSave(m_pairs, m_pairs.delay);
    emit countsChanged();
}

void UsageTracker::joinSession(const QString &bundleID)
{
    if (m_sessionApps.isEmpty())
        m_session = sessionMark + m_scheduler.now().toString(QStringLiteral("yyyy-MM-dd hh:mm"));
    m_sessionApps.insert(bundleID);
    m_sessionEnd = m_scheduler.after(sessionWindow, [this] { m_sessionApps.clear(); });
}

QDate UsageTracker::sessionDay(const QString &key)
{
    return key.startsWith(sessionMark) ? QDate::fromString(key.mid(1, 10), Qt::ISODate) : QDate();
}

UsageTracker::Counts UsageTracker::counts() const
{
    struct Application {
        QString id;
        qint64 most = 0, all = 0;
    };
    QHash<QString, Application> applications; // by what they are on this desktop
    for (auto it = m_counts.table.begin(); it != m_counts.table.end(); ++it) {
        Application &application = applications[m_workspace.resolved(it.key())];
        if (it.value() > application.most) {
            application.id = it.key();
            application.most = it.value();
        }
        add(application.all, it.value());
    }
    Counts counts;
    for (const Application &application : std::as_const(applications))
        counts.insert(application.id, application.all);
    return counts;
}

AppGroup UsageTracker::mostUsed(int limit) const
{
    const Counts all = counts();
    std::vector<std::pair<QString, qint64>> entries(all.keyValueBegin(), all.keyValueEnd());
    std::stable_sort(entries.begin(), entries.end(),
                     [](const auto &a, const auto &b) { return a.second > b.second; });

    AppGroup group = AppGroup::mostUsed();
    for (const auto &[id, count] : entries) {
        if (group.apps.size() >= limit)
            break;
        if (const auto application = m_workspace.application(id))
            group.apps.append({application->name, id});
    }
    return group;
}

void UsageTracker::flush()
{
    if (m_counts.pending)
        save(m_counts);
    if (m_pairs.pending)
        save(m_pairs);
}

template<class Table>
void UsageTracker::scheduleSave(Saved<Table> &file, std::chrono::milliseconds delay)
{
    file.pending = m_scheduler.after(delay, [this, &file] { save(file); });
}

/// Adds what was counted here to what the file holds by now.
template<class Table>
void UsageTracker::save(Saved<Table> &file)
{
    const Scheduler::Handle finished = std::exchange(file.pending, nullptr);
    const Table before = file.table;
    const auto merge = [&]() -> Status {
        const bool writes = !file.unsaved.isEmpty();
        std::optional<FileLock> lock; // only to write: files are replaced, so that one that is read is whole
        if (writes) {
            const Status &free = lock.emplace(m_folder + QStringLiteral("/usage.lock")).mayWrite();
            if (!free)
                return Error{free.error()};
        }
        if (auto stored = load<Table>(file.path)) {
            add(*stored, file.unsaved);
            file.table = *stored;
        }
        dropBefore(m_scheduler.now().date().addDays(-sessionDays), file.table);
        if (!writes)
            return {};
        return writeAtomically(file.path, QJsonDocument(written(file.table)).toJson(QJsonDocument::Compact));
    };
    if (const Status saved = merge()) {
        file.unsaved.clear();
        file.failureLogged = false;
    } else if (!std::exchange(file.failureLogged, true)) {
        qCWarning(log).noquote() << saved.error();
    }
    if (file.table != before)
        emit countsChanged();
}

} // namespace cobblet
