#pragma once

#include "platform/Availability.h"
#include "platform/Person.h"
#include "platform/RunningApplications.h"
#include "platform/Scheduler.h"

#include <QObject>

#include <chrono>

namespace cobblet {

class Workspace;

/// A running application and why it counts as that one.
struct RecognisedApplication {
    RunningApplication application;
    QString name; ///< of the installed application; empty where none was recognised
    Recognition recognition;
};

/// What this desktop permits and what it does not, as its services answer for themselves, and which application each
/// running one was taken for. Nothing is asked before refresh(), and nothing waits for an answer. Main thread.
class Diagnostics : public QObject {
    Q_OBJECT
public:
    /// A service that answers at once or later. The title stands for it where no answer came.
    struct Source {
        QString title;
        std::function<void(CapabilitiesAnswer)> ask;
    };
    /// A source of one row, which answers at once.
    static Source row(const QString &title, std::function<Availability()> ask);

    struct Services {
        RunningApplications &running;
        Workspace &workspace;
        Scheduler &scheduler;
    };
    /// How long an answer is waited for before its row says that none came.
    static constexpr std::chrono::milliseconds patience{2500};

    /// The services outlive this object. `unknown` are the titles of what only a program with a panel can know.
    Diagnostics(QList<Source> sources, const Services &services, QString version, QStringList unknown = {});

    /// Asks every service again; changed() follows as the answers arrive, and ready() once, after the last.
    void refresh();

    /// What has been answered, in the order of the sources.
    QList<Capability> rows() const;
    /// By name, what was not recognised last.
    QList<RecognisedApplication> applications() const;
    QList<Correction> corrections() const { return m_services.running.corrections(); }
    Status correct(const Correction &correction) { return m_services.running.correct(correction); }

    /// All of it as text, from which the person can't be told.
    QString report(const Person &person = Person::ofThisProcess()) const;
    /// Asks every service, and tells when ready() comes.
    void askReport(std::function<void(const QString &)> done);

signals:
    /// rows() or applications() may have changed.
    void changed();
    void ready();

private:
    void answered(qsizetype source, int round, const QList<Capability> &rows);

    struct Asked {
        Source source;
        QList<Capability> rows;
        bool waits = false;
    };
    const Services m_services;
    const QString m_version;
    const QStringList m_unknown;
    QList<Asked> m_asked;
    int m_round = 0; ///< of refresh(): answers to an older one are dropped
    Scheduler::Handle m_deadline;
};

} // namespace cobblet
