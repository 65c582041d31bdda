#pragma once

#include "ui/common/EngineSingleton.h"
#include "ui/settings/DeletedGroups.h"
#include "ui/settings/DiagnosticsModel.h"
#include "ui/settings/GroupEditor.h"
#include "ui/settings/GroupRows.h"
#include "ui/settings/KeyboardShortcuts.h"
#include "ui/settings/Preferences.h"
#include "ui/settings/SettingsCatalogue.h"
#include "ui/settings/SettingsDependencies.h"
#include "ui/settings/SettingsSearch.h"
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
    Q_PROPERTY(cobblet::DeletedGroups *deleted READ deleted CONSTANT)
    Q_PROPERTY(QVariantList suggestions READ suggestions NOTIFY suggestionsChanged)
    Q_PROPERTY(cobblet::DiagnosticsModel *diagnostics READ diagnostics CONSTANT)
    Q_PROPERTY(QVariantList pages READ pages CONSTANT)
    Q_PROPERTY(int groupRow READ groupRow NOTIFY placeChanged)
    Q_PROPERTY(int pageRow READ pageRow NOTIFY placeChanged)
    Q_PROPERTY(int actionRow READ actionRow NOTIFY placeChanged)
    Q_PROPERTY(QString pageSource READ pageSource NOTIFY sidebarItemChanged)
    Q_PROPERTY(QString goneNotice READ goneNotice NOTIFY goneNoticeChanged)
    Q_PROPERTY(QString query READ query WRITE setQuery NOTIFY queryChanged)
    Q_PROPERTY(QVariantList hits READ hits NOTIFY queryChanged)
    Q_PROPERTY(int sidebarWidth READ sidebarWidth WRITE setSidebarWidth NOTIFY sidebarWidthChanged)
public:
    static constexpr int minimumSidebarWidth = 200;
    static constexpr int maximumSidebarWidth = 400;

    /// The drafts outlive the object.
    SettingsViewModel(const SettingsDependencies &dependencies, GroupDrafts &drafts, QObject *parent = nullptr);
    /// Remembers the page on show.
    ~SettingsViewModel() override;

    GroupRows *groups() { return &m_groups; }
    Preferences *preferences() { return &m_preferences; }
    /// Of the group on show, or that was on show last.
    GroupEditor *editor();
    // Made when their pages first ask for them.
    KeyboardShortcuts *shortcuts();
    SiriCommands *siri();
    DiagnosticsModel *diagnostics();
    DeletedGroups *deleted() { return &m_deleted; }
    /// Of each suggested group: name, emoji, number ("3 apps"), names and reason.
    QVariantList suggestions() const;
    /// Of each page: title and symbol.
    QVariantList pages() const;

    const SettingsSidebarItem &sidebarItem() const { return m_item; }
    void select(const SettingsSidebarItem &item);
    /// The row of the group on show, or -1.
    int groupRow() const;
    /// The row of the page on show below the groups, or -1.
    int pageRow() const;
    /// The row between groups and pages that the keyboard is at, or -1: a suggestion, or "Add Group", which comes
    /// last.
    int actionRow() const { return m_actionRow; }
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
    /// So many rows up or down; groups and pages are selected on the way, and the ends hold.
    Q_INVOKABLE void step(int by);
    /// Does nothing when the name is blank. The new group's page opens once the group is there.
    Q_INVOKABLE void addGroup(const QString &name, const QString &emoji);
    // By their place among the suggestions.
    Q_INVOKABLE void addSuggestion(int row);
    Q_INVOKABLE void dismissSuggestion(int row);
    /// Asks first.
    Q_INVOKABLE void deleteGroup(int row);
    /// `position` in points from the window's top left corner.
    Q_INVOKABLE void showGroupMenu(int row, const QPointF &position);
    /// Puts the text on the clipboard.
    Q_INVOKABLE void copy(const QString &text);
    /// The group on show changes places with the one above (-1) or below (1).
    Q_INVOKABLE void moveGroup(int by);
    // A row that is dragged: its group stands where it would go, and is stored there when it is let go.
    Q_INVOKABLE void beginDrag(int row);
    Q_INVOKABLE void dragTo(int row);
    Q_INVOKABLE void endDrag(bool keep);

    /// What is searched for; while it is blank nothing is.
    QString query() const { return m_query; }
    void setQuery(const QString &query);
    /// What the search finds, the best first: title, place, emoji and symbol.
    QVariantList hits() const;
    /// Opens the page of a hit, and ends the search.
    Q_INVOKABLE void openHit(int row);

    /// The label and the help of a setting.
    Q_INVOKABLE cobblet::SettingEntry setting(const QString &id) const;

    /// In points.
    int sidebarWidth() const { return m_sidebarWidth; }
    void setSidebarWidth(int width);

signals:
    void sidebarItemChanged();
    void goneNoticeChanged();
    /// Another row is selected, or it has moved, or the keyboard is at another one.
    void placeChanged();
    void suggestionsChanged();
    void queryChanged();
    void sidebarWidthChanged();
    void closeRequested();
    void searchRequested();
    /// The keyboard goes to the name of the group on show.
    void nameRequested();
    /// The row of this setting, on the page on show, is to be pointed out.
    void settingFound(const QString &id);
    /// The keyboard goes to the row that is selected.
    void rowRequested();
    /// The dragged group is gone.
    void dragCancelled();

private:
    void followGroups();
    void setGoneNotice(const QString &notice);
    void followSuggestions();
    void setActionRow(int row);
    /// Rows between the groups and the pages.
    int actions() const;

    SettingsDependencies m_d;
    GroupDrafts &m_drafts;
    GroupRows m_groups;
    Preferences m_preferences;
    std::optional<GroupEditor> m_editor;
    std::optional<KeyboardShortcuts> m_shortcuts;
    std::optional<SiriCommands> m_siri;
    DeletedGroups m_deleted;
    std::optional<DiagnosticsModel> m_diagnostics;
    SettingsSidebarItem m_item;
    int m_actionRow = -1;
    int m_sidebarWidth = 220;
    std::optional<QUuid> m_pendingNewGroupID; ///< a group just added, to be selected once the list has it
    QString m_goneNotice;
    QUuid m_deletedID; ///< the group that was deleted here last
    std::optional<QUuid> m_dragged;
    QString m_query;
    std::optional<SearchIndex> m_index; ///< while something is searched for
    QList<SearchHit> m_hits;
    QWindow *m_window = nullptr;
};

} // namespace cobblet
