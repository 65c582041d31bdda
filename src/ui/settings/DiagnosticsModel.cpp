#include "ui/settings/DiagnosticsModel.h"

#include "integration/Diagnostics.h"
#include "platform/Pasteboard.h"
#include "platform/Workspace.h"
#include "ui/common/AppChooser.h"
#include "ui/common/DisplayText.h"

namespace cobblet {

QVariant DiagnosticsRows::data(const QModelIndex &index, int role) const
{
    if (!isRow(index))
        return {};
    const DiagnosticsRow &row = rows()[index.row()];
    switch (role) {
    case TitleRole:
        return row.title;
    case SentenceRole:
        return row.sentence;
    case LevelRole:
        return row.level;
    case BundleIDRole:
        return row.bundleID;
    case IsCorrectableRole:
        return !row.mark.isEmpty();
    default:
        return {};
    }
}

QHash<int, QByteArray> DiagnosticsRows::roleNames() const
{
    return {{TitleRole, "title"},
            {SentenceRole, "sentence"},
            {LevelRole, "level"},
            {BundleIDRole, "bundleID"},
            {IsCorrectableRole, "isCorrectable"}};
}

DiagnosticsModel::DiagnosticsModel(Diagnostics &diagnostics, Workspace &workspace, Pasteboard &pasteboard,
                                   QObject *parent)
    : QObject(parent), m_diagnostics(diagnostics), m_workspace(workspace), m_pasteboard(pasteboard)
{
    connect(&m_diagnostics, &Diagnostics::changed, this, &DiagnosticsModel::update);
    refresh();
    update();
}

void DiagnosticsModel::refresh()
{
    m_isCopied = false; // what was copied is older than what is shown now
    emit copied();
    m_diagnostics.refresh();
}

void DiagnosticsModel::update()
{
    QList<DiagnosticsRow> services, applications, corrections;
    for (const auto &[title, state] : m_diagnostics.rows())
        services.append({title, state.sentence, int(state.level), {}, {}});
    for (const auto &[application, name, recognition] : m_diagnostics.applications()) {
        const QString title = name.isEmpty() ? QStringLiteral("Not recognised") : displayText(name);
        const QString mark = displayText(recognition.mark);
        applications.append({title, mark.isEmpty() ? recognition.reason : recognition.reason + u'\n' + mark, 0,
                             application.bundleIdentifier, recognition.mark});
    }
    for (const auto &[mark, id] : m_diagnostics.corrections()) {
        const auto installed = m_workspace.application(id);
        corrections.append({displayText(installed ? installed->name : id), displayText(mark), 0, id, mark});
    }
    std::ranges::sort(corrections, {}, &DiagnosticsRow::title);
    m_services.setRows(std::move(services));
    m_applications.setRows(std::move(applications));
    m_corrections.setRows(std::move(corrections));
}

void DiagnosticsModel::copyReport()
{
    m_pasteboard.setText(m_diagnostics.report());
    m_isCopied = true;
    emit copied();
}

AppChooser *DiagnosticsModel::makeChooser(int row, QObject *parent)
{
    const DiagnosticsRow *application = m_applications.row(row);
    if (!application || application->mark.isEmpty())
        return nullptr;
    // By its mark: rows move while the list is open.
    const auto choose = [this, mark = application->mark](const QList<AppItem> &apps) {
        correct(mark, apps.first().bundleID);
    };
    return new AppChooser(m_workspace, choose, {}, parent);
}

void DiagnosticsModel::removeCorrection(int row)
{
    if (const DiagnosticsRow *correction = m_corrections.row(row))
        correct(QString(correction->mark), {}); // a copy: the row goes
}

void DiagnosticsModel::correct(const QString &mark, const QString &bundleID)
{
    const Status outcome = m_diagnostics.correct({mark, bundleID});
    if (std::exchange(m_failure, outcome.error()) != outcome.error())
        emit failureChanged();
}

} // namespace cobblet
