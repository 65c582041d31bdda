#include "integration/Diagnostics.h"

#include "integration/TerminalText.h"
#include "platform/Workspace.h"

#include <QPointer>
#include <QSysInfo>

#include <algorithm>
#include <memory>

namespace cobblet {

namespace {

QString said(Availability::Level level)
{
    switch (level) {
    case Availability::Level::Works:
        return QStringLiteral("works");
    case Availability::Level::Partly:
        return QStringLiteral("works partly");
    case Availability::Level::Not:
        return QStringLiteral("does not work");
    }
    return {};
}

} // namespace

Diagnostics::Source Diagnostics::row(const QString &title, std::function<Availability()> ask)
{
    return {title, [title, ask = std::move(ask)](const CapabilitiesAnswer &answer) { answer({{title, ask()}}); }};
}

Diagnostics::Diagnostics(QList<Source> sources, const Services &services, QString version, QStringList unknown)
    : m_services(services), m_version(std::move(version)), m_unknown(std::move(unknown))
{
    for (Source &source : sources)
        m_asked.append({std::move(source), {}, false});
    connect(&m_services.running, &RunningApplications::didTerminate, this, &Diagnostics::changed);
    connect(&m_services.running, &RunningApplications::didLaunch, this, &Diagnostics::changed);
    connect(&m_services.running, &RunningApplications::correctionsChanged, this, &Diagnostics::changed);
}

void Diagnostics::refresh()
{
    const int round = ++m_round;
    for (Asked &asked : m_asked)
        asked.waits = true;
    m_deadline = m_services.scheduler.after(patience, [this, round] {
        for (qsizetype i = 0; i < m_asked.size(); ++i)
            if (m_asked[i].waits)
                answered(i, round,
                         {{m_asked[i].source.title,
                           Availability::partly(QStringLiteral("No answer has come yet: look again in a moment."))}});
    });
    for (qsizetype i = 0; i < m_asked.size(); ++i)
        m_asked[i].source.ask([self = QPointer(this), i, round](const QList<Capability> &rows) {
            if (self)
                self->answered(i, round, rows);
        });
}

void Diagnostics::answered(qsizetype source, int round, const QList<Capability> &rows)
{
    Asked &asked = m_asked[source];
    if (round != m_round)
        return;
    asked.rows = rows;
    const bool wasLast = std::exchange(asked.waits, false) &&
                         std::ranges::none_of(m_asked, [](const Asked &other) { return other.waits; });
    emit changed();
    if (wasLast)
        emit ready();
}

QList<Capability> Diagnostics::rows() const
{
    QList<Capability> rows;
    for (const Asked &asked : m_asked)
        rows += asked.rows;
    return rows;
}

QList<RecognisedApplication> Diagnostics::applications() const
{
    QList<RecognisedApplication> list;
    for (const RunningApplication &application : m_services.running.runningApplications()) {
        const auto installed = m_services.workspace.application(application.bundleIdentifier);
        list.append({application, installed ? installed->name : application.bundleIdentifier,
                     m_services.running.recognition(application)});
    }
    std::ranges::stable_sort(list, [](const RecognisedApplication &a, const RecognisedApplication &b) {
        if (a.name.isEmpty() != b.name.isEmpty())
            return b.name.isEmpty();
        return QString::compare(a.name, b.name, Qt::CaseInsensitive) < 0;
    });
    return list;
}

QString Diagnostics::report(const Person &person) const
{
    QStringList lines{QStringLiteral("Cobblet %1 on %2").arg(m_version, QSysInfo::prettyProductName()), QString()};
    for (const auto &[title, state] : rows()) {
        lines.append(QStringLiteral("%1: %2").arg(title, said(state.level)));
        if (!state.sentence.isEmpty())
            lines.append(QStringLiteral("    ") + state.sentence);
    }
    if (!m_unknown.isEmpty())
        lines.append(QStringLiteral("Known only while Cobblet runs: %1.").arg(m_unknown.join(QStringLiteral(", "))));
    lines += {QString(), QStringLiteral("Running applications")};
    for (const auto &[application, name, recognition] : applications()) {
        const QString &id = application.bundleIdentifier;
        const QString mark = recognition.mark.isEmpty() ? QString() : QStringLiteral(" (%1)").arg(recognition.mark);
        lines.append(QStringLiteral("    %1%2: %3")
                         .arg(id.isEmpty() ? QStringLiteral("not recognised") : id, mark, recognition.reason));
    }
    for (const auto &[mark, id] : corrections())
        lines.append(QStringLiteral("    corrected: %1 is %2").arg(mark, id));
    QString text;
    for (const QString &line : std::as_const(lines))
        text += person.removedFrom(terminal::harmless(line)) + QLatin1Char('\n');
    return text;
}

void Diagnostics::askReport(std::function<void(const QString &)> done)
{
    const auto once = std::make_shared<QMetaObject::Connection>();
    *once = connect(this, &Diagnostics::ready, this, [this, once, done = std::move(done)] {
        disconnect(*once);
        done(report());
    });
    refresh();
}

} // namespace cobblet
