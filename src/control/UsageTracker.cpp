#include "control/UsageTracker.h"

#include "platform/AtomicFile.h"
#include "platform/FileLock.h"
#include "platform/RunningApplications.h"
#include "platform/Workspace.h"

#include <QFileInfo>
#include <QJsonDocument>
#include <QLoggingCategory>

#include <algorithm>
#include <limits>

namespace cobblet {

namespace {

Q_LOGGING_CATEGORY(log, "cobblet.usage")

using namespace std::chrono_literals;
constexpr auto sessionWindow = 1800s;

/// Far more than the launches of any person need; a larger file is not ours.
constexpr qint64 maximumFileBytes = 16 * 1024 * 1024;

bool isExcluded(const QString &bundleID)
{
    static constexpr QLatin1String exact[] = {
        QLatin1String("com.apple.systemuiserver"), QLatin1String("com.apple.dock"),
        QLatin1String("com.apple.WindowManager"),  QLatin1String("com.apple.notificationcenterui"),
        QLatin1String("com.apple.Spotlight"),      QLatin1String("com.apple.finder")};
    static constexpr QLatin1String prefixes[] = {QLatin1String("com.apple.WebKit."),
                                                 QLatin1String("com.apple.security."),
                                                 QLatin1String("com.apple.accessibility.")};
    return std::any_of(std::begin(exact), std::end(exact), [&](QLatin1String id) { return bundleID == id; }) ||
           std::any_of(std::begin(prefixes), std::end(prefixes),
                       [&](QLatin1String prefix) { return bundleID.startsWith(prefix); });
}

void increment(qint64 &count)
{
    if (count < std::numeric_limits<qint64>::max())
        ++count;
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

/// The table in the file, or an empty one where there is none that can be read.
template<class Table>
Table load(const QString &path)
{
    if (!QFileInfo::exists(path))
        return {};
    Table table;
    const auto bytes = readBounded(path, maximumFileBytes);
    if (!bytes)
        qCWarning(log).noquote() << bytes.error();
    else if (const auto document = QJsonDocument::fromJson(bytes.value());
             document.isObject() && read(document.object(), table))
        return table;
    else
        qCWarning(log).noquote() << QStringLiteral("%1 holds no launch counts; counting starts anew.").arg(path);
    return {};
}

} // namespace

UsageTracker::UsageTracker(const QString &folder, RunningApplications &running, Workspace &workspace,
                           Scheduler &scheduler, QObject *parent)
    : QObject(parent), m_workspace(workspace), m_scheduler(scheduler),
      m_lockPath(folder + QStringLiteral("/usage.lock")), m_countsFile{folder + QStringLiteral("/usage-stats.json"),
                                                                       2s, [this] { return written(m_counts); }},
      m_cooccurrenceFile{folder + QStringLiteral("/usage-cooccurrence.json"), 5s,
                         [this] { return written(m_cooccurrence); }},
      m_counts(load<Counts>(m_countsFile.path)), m_cooccurrence(load<QMap<QString, Counts>>(m_cooccurrenceFile.path))
{
    connect(&running, &RunningApplications::didLaunch, this,
            [this](const RunningApplication &application) { recordLaunch(application.bundleIdentifier); });
}

UsageTracker::~UsageTracker()
{
    flush();
}

void UsageTracker::recordLaunch(const QString &bundleID)
{
    if (bundleID.isEmpty() || isExcluded(bundleID))
        return;
    const QString id = m_workspace.resolved(bundleID);

    increment(m_counts[id]);
    scheduleSave(m_countsFile);

    for (const QString &other : std::as_const(m_sessionApps)) {
        if (other == id)
            continue;
        increment(m_cooccurrence[id][other]);
        increment(m_cooccurrence[other][id]);
    }
    m_sessionApps.insert(id);
    scheduleSave(m_cooccurrenceFile);

    m_sessionEnd = m_scheduler.after(sessionWindow, [this] { m_sessionApps.clear(); });
    emit countsChanged();
}

AppGroup UsageTracker::mostUsed(int limit) const
{
    std::vector<std::pair<QString, qint64>> entries(m_counts.keyValueBegin(), m_counts.keyValueEnd());
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
    for (SavedFile *file : {&m_countsFile, &m_cooccurrenceFile})
        if (file->pending)
            save(*file);
}

void UsageTracker::scheduleSave(SavedFile &file)
{
    file.pending = m_scheduler.after(file.delay, [this, &file] { save(file); });
}

void UsageTracker::save(SavedFile &file)
{
    const Scheduler::Handle finished = std::exchange(file.pending, nullptr);
    const FileLock lock(m_lockPath);
    const Status written =
        lock.mayWrite() ? writeAtomically(file.path, QJsonDocument(file.content()).toJson(QJsonDocument::Compact))
                        : lock.mayWrite();
    if (written) {
        file.failureLogged = false;
    } else if (!file.failureLogged) {
        file.failureLogged = true;
        qCWarning(log).noquote() << written.error();
    }
}

} // namespace cobblet
