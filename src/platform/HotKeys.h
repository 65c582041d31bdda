#pragma once

#include "platform/Availability.h"
#include "platform/Result.h"

#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>

#include <memory>
#include <vector>

namespace cobblet {

/// The bits of a key combination's modifiers.
namespace modifier {
inline constexpr quint32 command = 0x0100; ///< the Windows or Super key
inline constexpr quint32 shift = 0x0200;
inline constexpr quint32 option = 0x0800; ///< Alt
inline constexpr quint32 control = 0x1000;
} // namespace modifier

/// Tells the combinations of a program apart; {0, 0} stands for one that could not be told.
struct HotKeyID {
    quint32 signature = 0; ///< four characters, big-endian
    quint32 id = 0;

    bool operator==(const HotKeyID &) const = default;
};

/// A key combination that is to reach this program whoever has the keyboard focus.
struct HotKey {
    int keyCode = 0;       ///< the virtual code of a position on an ANSI keyboard, whatever that key types
    quint32 modifiers = 0; ///< of namespace modifier
    HotKeyID id;
    QString name;        ///< stable, for desktops that remember what the user bound ("group-1")
    QString description; ///< what it does, for desktops that list it
};

/// Key combinations of the whole desktop. Main thread only.
class HotKeys : public QObject {
    Q_OBJECT
public:
    /// One registered combination; destroying it unregisters.
    class Registration {
    public:
        Registration(HotKeys *service, const HotKeyID &id) : m_service(service), m_id(id) {}
        ~Registration()
        {
            if (m_service)
                m_service->unregister(m_id);
        }
        Registration(const Registration &) = delete;
        Registration &operator=(const Registration &) = delete;

    private:
        QPointer<HotKeys> m_service;
        HotKeyID m_id;
    };
    using Handle = std::unique_ptr<Registration>;

    /// Registers all in one go; the results are in their order. A desktop that first asks the user gives handles
    /// at once and may take them back with refused(). To be called once.
    virtual std::vector<Result<Handle>> registerAll(const QList<HotKey> &keys) = 0;

    /// Whether this desktop has hot keys for programs.
    virtual Availability availability() const = 0;

    /// What the desktop says to press for a combination, when that is its own choice; empty when it is as asked.
    virtual QString trigger(const HotKeyID &id) const = 0;

signals:
    void pressed(const cobblet::HotKeyID &id);
    /// A combination whose handle was given is not registered after all.
    void refused(const cobblet::HotKeyID &id, const QString &reason);
    /// availability() or a trigger() changed.
    void changed();

private:
    virtual void unregister(const HotKeyID &id) = 0;
};

} // namespace cobblet
