#pragma once

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
    /// This row of the applications counts as that one from now on.
    void correct(int row, const QString &bundleID) { correct(m_applications, row, bundleID); }
    /// Ends the correction in this row.
    Q_INVOKABLE void removeCorrection(int row) { correct(m_corrections, row, {}); }

signals:
    void copied();
    void failureChanged();

private:
    void update();
    void correct(const DiagnosticsRows &rows, int row, const QString &bundleID);
    void correct(const QString &mark, const QString &bundleID);

    Diagnostics &m_diagnostics;
    Workspace &m_workspace;
    Pasteboard &m_pasteboard;
    DiagnosticsRows m_services, m_applications, m_corrections;
    bool m_isCopied = false;
    QString m_failure;
};

} // namespace cobblet
