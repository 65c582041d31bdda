#pragma once

#include "platform/freedesktop/intents/BusInterface.h"

#include <QString>

#include <functional>
#include <map>
#include <memory>

namespace cobblet {

class SessionBus;

/// The objects that this program has on the session bus, and the way of a call to them: checked against the
/// interface's description and the bounds, then queued, then carried out. What does not fit is answered with an
/// error that says what would.
class BusService {
public:
    /// `identifier` is the application identifier that the paths stand for. The bus outlives this object.
    BusService(SessionBus &bus, const QString &identifier);
    ~BusService();
    BusService(const BusService &) = delete;
    BusService &operator=(const BusService &) = delete;

    /// Adds an interface to the main object, or with `child` ("Runner") to the object below it.
    void add(BusInterface interface, const QString &child = {});
    /// From now on the objects can be called; those that are added later too.
    void publish();
    /// No object is there any more, and calls that wait are answered with an error.
    void withdraw();

    CallQueue &queue() { return m_queue; }
    /// Emits a signal without arguments from the main object, when it is published.
    void notify(const char *interface, const char *notice);

    /// What a caller tells of the person's act that led to the call, for the focus that may follow from it.
    struct UserActs {
        std::function<void(const QString &token)> token; ///< of startup notification or activation
        std::function<void(quint32 time)> time;          ///< of the windowing system, in ms; never 0
    };
    void setUserActs(UserActs acts) { m_acts = std::move(acts); }
    /// Passes on the token that is in the data, if one is, and returns it.
    QString userActed(const QVariantMap &platformData) const;
    void userActedAt(quint32 time) const;

    /// The object path that stands for an application identifier.
    static QString objectPath(const QString &identifier);
    /// The name on the bus that stands for it: no element of one may begin with a digit.
    static QString busName(const QString &identifier);

    /// How many calls of a lane may be open that are answered later.
    static constexpr long maximumOpen = 64;

private:
    class Object;

    void take(const QDBusConnection &connection, const QDBusMessage &message, const BusMethod &method);
    void carryOut(CallQueue::Lane lane, const BusMethod &method, const BusCall &call);

    SessionBus &m_bus;
    const QString m_path;
    CallQueue m_queue;
    UserActs m_acts;
    bool m_published = false;
    std::map<QString, std::unique_ptr<Object>> m_objects; ///< by path
    /// Each open call holds a share.
    std::shared_ptr<void> m_openUrgent = std::make_shared<char>();
    std::shared_ptr<void> m_openOrdinary = std::make_shared<char>();
};

} // namespace cobblet
