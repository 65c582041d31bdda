#pragma once

#include "model/PopupSettings.h"
#include "ui/common/AppChooser.h"
#include "ui/common/EngineSingleton.h"
#include "ui/panel/AppGridModel.h"
#include "ui/panel/PanelActions.h"
#include "ui/panel/SidebarModel.h"
#include "ui/panel/SidebarSelection.h"
#include "ui/panel/TileImages.h"
#include "ui/panel/ToolRow.h"

#include <QPointF>
#include <QSizeF>

#include <functional>

class QWindow;

namespace cobblet {

/// What the launcher panel shows and what its controls do, without a window. Main thread only.
class PanelViewModel : public QObject, public EngineSingleton<PanelViewModel> {
    Q_OBJECT
    QML_NAMED_ELEMENT(Panel)
    QML_SINGLETON
    Q_PROPERTY(cobblet::SidebarModel *sidebar READ sidebar CONSTANT)
    Q_PROPERTY(cobblet::AppGridModel *grid READ grid CONSTANT)
    Q_PROPERTY(int selectedRow READ selectedRow NOTIFY contentChanged)
    Q_PROPERTY(Content content READ content NOTIFY contentChanged)
    Q_PROPERTY(QString contentID READ contentID NOTIFY contentChanged)
    Q_PROPERTY(bool showsToolRow READ showsToolRow NOTIFY contentChanged)
    Q_PROPERTY(bool offersStandalone READ offersStandalone NOTIFY contentChanged)
    Q_PROPERTY(bool isEditable READ isEditable NOTIFY contentChanged)
    Q_PROPERTY(QString contentName READ contentName NOTIFY contentChanged)
    Q_PROPERTY(QVariant addTile READ addTile NOTIFY addTileChanged)
    Q_PROPERTY(int columns READ columns NOTIFY contentChanged)
    Q_PROPERTY(double roomWidth READ roomWidth NOTIFY roomWidthChanged)
    Q_PROPERTY(bool showsTitles READ showsTitles NOTIFY contentChanged)
    Q_PROPERTY(bool sidebarExpanded MEMBER m_sidebarExpanded NOTIFY sidebarExpandedChanged)
    Q_PROPERTY(QString closeAllLabel READ closeAllLabel NOTIFY modifiersChanged)
    Q_PROPERTY(QStringList closeAllLabels READ closeAllLabels CONSTANT)
    Q_PROPERTY(QString closeAllSymbol READ closeAllSymbol NOTIFY modifiersChanged)
    Q_PROPERTY(bool showsMostUsed READ showsMostUsed NOTIFY contentChanged)
    Q_PROPERTY(bool shown READ isVisible NOTIFY shownChanged)
public:
    /// What the right column holds.
    enum class Content {
        Grid,
        NoGroups,   ///< the store holds no group at all
        NoLaunches, ///< Most Used before the first launch
    };
    Q_ENUM(Content)

    explicit PanelViewModel(const PanelDependencies &dependencies, QObject *parent = nullptr);

    SidebarModel *sidebar() { return &m_sidebar; }
    AppGridModel *grid() { return &m_grid; }
    TileImages &tiles() { return m_tiles; }

    SidebarSelection selection() const { return m_selection; }
    void select(const SidebarSelection &selection);
    /// The group on show; the first of the sidebar order when the selected one is gone, absent for Most Used.
    std::optional<AppGroup> selectedGroup() const;
    /// By the shortcut map, else by position in the sidebar order; a digit without a group changes nothing.
    void selectDigit(int digit);

    QSizeF desiredSize() const;
    /// Announces the size that the panel wants to have.
    void postDesiredSize();

    /// -1: no group.
    int selectedRow() const;
    Content content() const;
    /// Changes exactly when another tab comes on show.
    QString contentID() const;
    /// What the tab is called.
    QString contentName() const;
    /// Whether applications can be added to what is on show.
    bool isEditable() const { return groupOnShow() != nullptr; }
    /// The picture of the cell that adds applications.
    QVariant addTile() { return m_tiles.addTile(); }
    bool showsToolRow() const;
    /// Whether the group on show can be an application of its own.
    bool offersStandalone() const { return m_d.openStandalone && groupOnShow(); }
    bool showsMostUsed() const { return m_d.popupSettings.showsMostUsed(); }
    int columns() const { return m_layout.columns; }
    /// How wide the panel can be at most, in points. More than any screen has until it is told.
    double roomWidth() const { return m_roomWidth; }
    void setRoomWidth(double width);
    bool showsTitles() const { return m_layout.showsTitles; }
    QString closeAllLabel() const { return closeAllButton(m_isCommandPressed, m_isOptionPressed).label; }
    QStringList closeAllLabels() const { return cobblet::closeAllLabels(); }
    QString closeAllSymbol() const { return closeAllButton(m_isCommandPressed, m_isOptionPressed).symbol; }

    /// The keys as held now; none when the panel is hidden or has lost the keyboard.
    void setModifiers(Qt::KeyboardModifiers modifiers);
    /// Command with a comma opens the settings. True when the key is used up.
    bool handleKey(int key, Qt::KeyboardModifiers modifiers);
    /// While hidden, launch counts do not move the Most Used list.
    void setVisible(bool visible);
    bool isVisible() const { return m_visible; }
    /// Menus open over this window.
    void setWindow(QWindow *window) { m_window = window; }

    /// -1: Most Used.
    Q_INVOKABLE void selectRow(int row);
    Q_INVOKABLE void openSettings();
    Q_INVOKABLE void openAll();
    Q_INVOKABLE void closeAll();
    /// Closes the panel and opens the application of the group on show.
    Q_INVOKABLE void openStandalone();
    /// Opens the cell's application.
    Q_INVOKABLE void activateCell(int row);
    /// A list to choose applications from, which are added to the group that is on show now; null where there is
    /// none. The parent owns it.
    Q_INVOKABLE cobblet::AppChooser *makeChooser(QObject *parent);
    /// `position` in points from the window's top left corner.
    Q_INVOKABLE void showCellMenu(int row, const QPointF &position);
    Q_INVOKABLE void showGroupMenu(int row, const QPointF &position);
    /// Does nothing when the name is blank.
    Q_INVOKABLE void createGroup(const QString &name, const QString &emoji);

signals:
    void contentChanged();
    void roomWidthChanged();
    void sidebarExpandedChanged();
    void modifiersChanged();
    void shownChanged();
    void addTileChanged();

private:
    void reload();
    void reloadContent();
    const AppGroup *groupOnShow() const;
    const QList<AppItem> &appsOnShow() const;

    PanelDependencies m_d;
    PanelActions m_actions;
    TileImages m_tiles;
    SidebarModel m_sidebar;
    AppGridModel m_grid;
    SidebarSelection m_selection = SidebarSelection::mostUsed();
    QList<AppGroup> m_order; ///< the groups in sidebar order
    AppGroup m_mostUsed;
    EffectivePopupLayout m_layout;
    double m_roomWidth = 100'000;
    bool m_sidebarExpanded = true;
    bool m_isCommandPressed = false;
    bool m_isOptionPressed = false;
    bool m_visible = false;
    QWindow *m_window = nullptr;
};

} // namespace cobblet
