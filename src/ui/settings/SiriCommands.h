#pragma once

#include <QObject>
#include <QString>
#include <QVariantList>

#include <QtQml/qqmlregistration.h>

namespace cobblet {

class Workspace;

/// The spoken requests, as the page lists them. Main thread only.
class SiriCommands : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Settings.siri is the one instance.")
    Q_PROPERTY(QVariantList commands READ commands CONSTANT)
    Q_PROPERTY(QString example READ example CONSTANT)
    Q_PROPERTY(bool opensShortcuts READ opensShortcuts NOTIFY opensShortcutsChanged)
    Q_PROPERTY(QString failure READ failure NOTIFY failureChanged)
public:
    /// The workspace outlives the object.
    explicit SiriCommands(Workspace &workspace, QObject *parent = nullptr);

    /// Of each: title, icon, tint, detail, and verbs, its phrases' first words.
    static QVariantList commands();
    /// A phrase as it is given to the command on the path.
    static QString example();
    /// The whole phrase, with the word Group for the group.
    Q_INVOKABLE static QString phrase(const QString &verb);

    /// Whether anything here opens addresses of the Shortcuts app.
    bool opensShortcuts() const;
    Q_INVOKABLE void openShortcuts();
    /// Why the Shortcuts app was not opened; empty when it was.
    const QString &failure() const { return m_failure; }

signals:
    void opensShortcutsChanged();
    void failureChanged();

private:
    Workspace &m_workspace;
    QString m_failure;
};

} // namespace cobblet
