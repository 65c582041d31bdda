#include "platform/freedesktop/bus/DBusIntents.h"

#include "Program.h"
#include "Runner.h"
#include "SearchProvider.h"
#include "platform/freedesktop/bus/DBusInstance.h"
#include "platform/freedesktop/bus/SessionBus.h"

#include <QFileInfo>
#include <QStandardPaths>

#include <memory>

namespace cobblet {

namespace {

/// One search of the desktop, as far as it was looked for.
struct Search {
    QLatin1String name;
    QString entry;       ///< that tells it of this program; empty when it lies where that search looks not
    bool isHere = false; ///< in this session
    std::optional<bool> asked;
};

Availability availabilityOf(const Search &search)
{
    if (!search.isHere)
        return Availability::unavailable(QStringLiteral("%1 doesn't run in this session.").arg(search.name));
    if (search.entry.isEmpty())
        return Availability::unavailable(
            QStringLiteral("%1 doesn't know of Cobblet: install it for the whole system, so that its entry lies "
                           "where %1 looks.")
                .arg(search.name));
    if (search.asked == false)
        return Availability::works(
            QStringLiteral("%1 knows of Cobblet and hasn't asked since it started: allow it in "
                           "the desktop's search settings if it never does.")
                .arg(search.name));
    return Availability::works(QStringLiteral("%1 finds the groups.").arg(search.name));
}

/// Below the system's data folders and, where the search looks there too, the user's own.
QString entryIn(const QString &relative, bool inOwnFolder)
{
    QStringList folders = QStandardPaths::standardLocations(QStandardPaths::GenericDataLocation);
    if (!inOwnFolder)
        folders.removeAll(QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation));
    for (const QString &folder : folders)
        if (const QString file = folder + QLatin1Char('/') + relative; QFileInfo(file).isFile())
            return file;
    return {};
}

} // namespace

DBusIntents::DBusIntents(DBusInstance &instance, const QString &identifier)
    : m_instance(instance), m_identifier(identifier), m_searchProvider(instance.program(), identifier),
      m_runner(instance.program(), identifier)
{
    registerIntentValues();
    // Each belongs to its object.
    new GroupsAdaptor(&m_instance.program());
    new CommandLineAdaptor(&m_instance.program());
    new SearchProvider2Adaptor(&m_searchProvider);
    new Krunner1Adaptor(&m_runner);
    m_instance.add(QStringLiteral("SearchProvider"), m_searchProvider);
    m_instance.add(QStringLiteral("Runner"), m_runner);
    m_instance.program().calls().hold();
}

DBusIntents::~DBusIntents()
{
    DBusIntents::stop();
}

Availability DBusIntents::availability() const
{
    const Availability instance = m_instance.availability();
    return instance.level == Availability::Level::Works
               ? Availability::works(QStringLiteral("Scripts, searches and the command line reach the groups."))
               : Availability::unavailable(
                     QStringLiteral("Scripts and searches can't reach the groups. %1").arg(instance.sentence));
}

void DBusIntents::examine(CapabilitiesAnswer answer)
{
    const auto names = std::make_shared<QStringList>();
    SessionBus &bus = m_instance.bus();
    QObject *context = &m_searchProvider;
    callSessionBus(&bus, context, busQuestion("ListActivatableNames"),
                   [names](const QDBusMessage &reply) { names->append(reply.arguments().value(0).toStringList()); });
    callSessionBus(&bus, context, busQuestion("ListNames"), [this, names, answer](const QDBusMessage &reply) {
        names->append(reply.arguments().value(0).toStringList());
        const auto asked = [this](bool was) { return m_serves ? std::optional(was) : std::nullopt; };
        const Search shell{
            QLatin1String("GNOME Shell"),
            entryIn(QStringLiteral("gnome-shell/search-providers/%1.search-provider.ini").arg(m_identifier), false),
            names->contains(QLatin1String("org.gnome.Shell")), asked(m_searchProvider.wasAsked())};
        const Search runner{QLatin1String("KRunner"),
                            entryIn(QStringLiteral("krunner/dbusplugins/%1.desktop").arg(m_identifier), true),
                            names->contains(QLatin1String("org.kde.krunner")), asked(m_runner.wasAsked())};
        answer({{QStringLiteral("Search in GNOME Shell"), availabilityOf(shell)},
                {QStringLiteral("Search in KRunner"), availabilityOf(runner)}});
    });
}

void DBusIntents::serve(IntentRequests &requests)
{
    m_serves = true;
    m_instance.program().setRequests(&requests);
    m_instance.program().calls().release();
}

void DBusIntents::stop()
{
    m_instance.withdraw();
    m_instance.program().setRequests(nullptr);
}

void DBusIntents::groupsChanged()
{
    emit m_instance.program().GroupsChanged();
}

} // namespace cobblet
