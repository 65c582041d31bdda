#pragma once

#include "ui/common/AppChooser.h"
#include "ui/settings/DiagnosticsRows.h"

#include <QObject>

namespace cobblet {

class Diagnostics;
class Pasteboard;
class Workspace;

/// What the diagnostics page shows and does. Asks the services when it is made, and shows their answers as they come.
/// Main thread only.
class DiagnosticsModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Settings.diagnostics is the one instance.")
    Q_PROPERTY(cobblet::DiagnosticsRows *services READ services CONSTANT)
    Q_PROPERTY(cobblet::DiagnosticsRows *applications READ applications CONSTANT)
    Q_PROPERTY(cobblet::DiagnosticsRows *corrections READ corrections CONSTANT)
    Q_PROPERTY(bool isCopied READ isCopied NOTIFY copied)
    Q_PROPERTY(QString failure READ failure NOTIFY failureChanged)
public:
    /// The references outlive the object.
    DiagnosticsModel(Diagnostics &diagnostics, Workspace &workspace, Pasteboard &pasteboard,
                     QObject *parent = nullptr);

    DiagnosticsRows *services() { return &m_services; }
    DiagnosticsRows *applications() { return &m_applications; }
    DiagnosticsRows *corrections() { return &m_corrections; }
    /// The report as it was copied is on the clipboard, as far as this page knows.
    bool isCopied() const { return m_isCopied; }
    /// Why the last correction could not be kept; empty when it was.
    QString failure() const { return m_failure; }

    /// Asks the services again.
    Q_INVOKABLE void refresh();
    /// Puts the report on the clipboard.
    Q_INVOKABLE void copyReport();
    /// The list from which another application is chosen for this row. Null when the row can't be corrected.
    Q_INVOKABLE cobblet::AppChooser *makeChooser(int row, QObject *parent);
    /// Ends the correction in this row.
    Q_INVOKABLE void removeCorrection(int row);

signals:
    void copied();
    void failureChanged();

private:
    void update();
    void correct(const QString &mark, const QString &bundleID);

    Diagnostics &m_diagnostics;
    Workspace &m_workspace;
    Pasteboard &m_pasteboard;
    DiagnosticsRows m_services, m_applications, m_corrections;
    bool m_isCopied = false;
    QString m_failure;
};

} // namespace cobblet
