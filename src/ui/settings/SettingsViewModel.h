#pragma once

#include "ui/common/EngineSingleton.h"
#include "ui/settings/GroupEditor.h"
#include "ui/settings/GroupRows.h"
#include "ui/settings/KeyboardShortcuts.h"
#include "ui/settings/Preferences.h"
#include "ui/settings/SettingsCatalogue.h"
#include "ui/settings/SettingsDependencies.h"
#include "ui/settings/SiriCommands.h"

#include <QObject>
#include <QPointF>
#include <QVariantList>

#include <optional>

class QWindow;

namespace cobblet {

/// What the settings window shows and what its sidebar does, without a window. Main thread only.
class SettingsViewModel : public QObject, public EngineSingleton<SettingsViewModel> {
    Q_OBJECT
    QML_NAMED_ELEMENT(Settings)
    QML_SINGLETON
    Q_PROPERTY(cobblet::GroupRows *groups READ groups CONSTANT)
    Q_PROPERTY(cobblet::Preferences *preferences READ preferences CONSTANT)
    Q_PROPERTY(cobblet::GroupEditor *editor READ editor CONSTANT)
    Q_PROPERTY(cobblet::KeyboardShortcuts *shortcuts READ shortcuts CONSTANT)
    Q_PROPERTY(cobblet::SiriCommands *siri READ siri CONSTANT)
    Q_PROPERTY(QVariantList pages READ pages CONSTANT)
    Q_PROPERTY(int groupRow READ groupRow NOTIFY sidebarItemChanged)
    Q_PROPERTY(int pageRow READ pageRow NOTIFY sidebarItemChanged)
    Q_PROPERTY(QString pageSource READ pageSource NOTIFY sidebarItemChanged)
    Q_PROPERTY(QString goneNotice READ goneNotice NOTIFY goneNoticeChanged)
public:
    /// The drafts outlive the object.
    SettingsViewModel(const SettingsDependencies &dependencies, GroupDrafts &drafts, QObject *parent = nullptr);

    GroupRows *groups() { return &m_groups; }
    Preferences *preferences() { return &m_preferences; }
    /// Of the group on show, or that was on show last.
    GroupEditor *editor();
    // Made when their pages first ask for them.
    KeyboardShortcuts *shortcuts();
    SiriCommands *siri();
    /// Of each page: title and symbol.
    QVariantList pages() const;

    const SettingsSidebarItem &sidebarItem() const { return m_item; }
    void select(const SettingsSidebarItem &item);
    /// The row of the group on show, or -1.
    int groupRow() const;
    /// The row of the page on show below the groups, or -1.
    int pageRow() const;
    /// The QML file of the page on show; empty where there is none.
    QString pageSource() const;

    /// Says that somebody else deleted the group on show; empty once another page is chosen.
    const QString &goneNotice() const { return m_goneNotice; }

    /// Menus and alerts belong to this window.
    void setWindow(QWindow *window) { m_window = window; }
    /// True when the key is used up.
    bool handleKey(int key, Qt::KeyboardModifiers modifiers);

    Q_INVOKABLE void selectGroup(int row);
    Q_INVOKABLE void selectPage(int row);
    /// To the row above (-1) or below (1); at the ends it stays.
    Q_INVOKABLE void step(int by);
    /// Does nothing when the name is blank. The new group's page opens once the group is there.
    Q_INVOKABLE void addGroup(const QString &name, const QString &emoji);
    /// Asks first.
    Q_INVOKABLE void deleteGroup(int row);
    /// `position` in points from the window's top left corner.
    Q_INVOKABLE void showGroupMenu(int row, const QPointF &position);
    /// Puts the text on the clipboard.
    Q_INVOKABLE void copy(const QString &text);
    /// The label and the help of a setting.
    Q_INVOKABLE cobblet::SettingEntry setting(const QString &id) const;

signals:
    void sidebarItemChanged();
    void goneNoticeChanged();
    void closeRequested();

private:
    void followGroups();
    void setGoneNotice(const QString &notice);

    SettingsDependencies m_d;
    GroupDrafts &m_drafts;
    GroupRows m_groups;
    Preferences m_preferences;
    std::optional<GroupEditor> m_editor;
    std::optional<KeyboardShortcuts> m_shortcuts;
    std::optional<SiriCommands> m_siri;
    SettingsSidebarItem m_item;
    std::optional<QUuid> m_pendingNewGroupID; ///< a group just added, to be selected once the list has it
    QString m_goneNotice;
    QUuid m_deletedID; ///< the group that was deleted here last
    QWindow *m_window = nullptr;
};

} // namespace cobblet
