#pragma once

#include "ui/common/AppChooser.h"
#include "ui/settings/DraftApps.h"
#include "ui/settings/GroupPreview.h"

#include <QObject>

#include <QtQml/qqmlregistration.h>

namespace cobblet {

class ConfigManager;
class Dialogs;
class DistributedNotifications;
class GroupDrafts;
class IconProvider;
class Preferences;
class RunningApplications;
struct DraftAppearance;

/// The page of one group: its draft as the controls bind to it, and what they do. Main thread only.
class GroupEditor : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Settings.editor is the one instance.")
    Q_PROPERTY(QString name READ name WRITE setName NOTIFY changed)
    Q_PROPERTY(QString emoji READ emoji WRITE setEmoji NOTIFY changed)
    Q_PROPERTY(bool isGrid READ isGrid WRITE setGrid NOTIFY changed)
    Q_PROPERTY(QString iconColor READ iconColor NOTIFY changed)
    Q_PROPERTY(bool hasIconColor READ hasIconColor NOTIFY changed)
    Q_PROPERTY(QString colorFailure READ colorFailure NOTIFY changed)
    Q_PROPERTY(QStringList columnChoices READ columnChoices CONSTANT)
    Q_PROPERTY(QStringList rowChoices READ rowChoices CONSTANT)
    Q_PROPERTY(int columns READ columns WRITE setColumns NOTIFY changed)
    Q_PROPERTY(int maxRows READ maxRows WRITE setMaxRows NOTIFY changed)
    Q_PROPERTY(bool showsTitles READ showsTitles WRITE setShowsTitles NOTIFY changed)
    Q_PROPERTY(int position READ position WRITE setPosition NOTIFY changed)
    Q_PROPERTY(bool hasChanges READ hasChanges NOTIFY changed)
    Q_PROPERTY(QString refusal READ refusal NOTIFY changed)
    Q_PROPERTY(bool isStandalone READ isStandalone NOTIFY changed)
    Q_PROPERTY(QString appliedNotice READ appliedNotice NOTIFY changed)
    Q_PROPERTY(cobblet::DraftApps *apps READ apps CONSTANT)
    Q_PROPERTY(cobblet::GroupPreview *preview READ preview CONSTANT)
public:
    /// The references outlive the object.
    struct Services {
        ConfigManager &config;
        GroupDrafts &drafts;
        Preferences &preferences;
        Workspace &workspace;
        IconProvider &icons;
        GroupIconProvider &groupIcons;
        RunningApplications &running;
        DistributedNotifications &notifications;
        Dialogs &dialogs;
    };

    explicit GroupEditor(const Services &services);

    /// Shows this group from now on.
    void open(const QUuid &group);

    QString name() const;
    QString emoji() const;
    bool isGrid() const;
    /// The colour in force, as "#C7C7C7".
    QString iconColor() const;
    /// False while the tile has the standard colour.
    bool hasIconColor() const;
    /// Why the last text was no colour; empty when it was one.
    const QString &colorFailure() const { return m_colorFailure; }
    /// "Global", "Auto", and the counts.
    QStringList columnChoices() const;
    QStringList rowChoices() const;
    /// The place among the choices of what the draft has, or of the nearest to it.
    int columns() const;
    int maxRows() const;
    /// The draft's, or the global one.
    bool showsTitles() const;
    /// 0 global, 1 over the dock, 2 above the icon.
    int position() const;

    void setName(const QString &name);
    /// Ignores a blank text.
    void setEmoji(const QString &emoji);
    void setGrid(bool grid);
    void setColumns(int choice);
    void setMaxRows(int choice);
    void setShowsTitles(bool shows);
    void setPosition(int position);

    bool hasChanges() const;
    /// Why the changes can't be applied; empty when they can.
    QString refusal() const;
    bool isStandalone() const;
    /// What became of the last Apply; empty once something was changed.
    const QString &appliedNotice() const { return m_appliedNotice; }

    DraftApps *apps() { return &m_apps; }
    GroupPreview *preview() { return &m_preview; }

    /// Six hexadecimal digits, with a number sign or without; says in colorFailure() when it is something else,
    /// unless it is still being typed.
    Q_INVOKABLE void setIconColor(const QString &text, bool isTyping = false);
    Q_INVOKABLE void resetIconColor();
    /// In the desktop's dialog.
    Q_INVOKABLE void chooseIconColor();
    /// A list to choose applications from, which the parent owns.
    Q_INVOKABLE cobblet::AppChooser *makeChooser(QObject *parent);
    Q_INVOKABLE void removeApp(int row);
    /// Moves an application to another row, or to the nearest that there is, and returns its row then.
    Q_INVOKABLE int moveApp(int from, int to);
    /// Does nothing when there are no changes, or a refusal.
    Q_INVOKABLE void apply();

signals:
    void changed();
    /// Another group is shown.
    void opened();

private:
    DraftAppearance draft() const;
    template<class Change>
    void edit(Change change);
    void setColor(const QUuid &group, const std::optional<QString> &color);
    void addApps(const QUuid &group, const QList<AppItem> &apps);
    void show();

    const Services m_services;
    QUuid m_group;
    QString m_colorFailure;
    QString m_appliedNotice;
    DraftApps m_apps;
    GroupPreview m_preview;
};

} // namespace cobblet
