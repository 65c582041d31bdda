#pragma once

#include "model/AppGroup.h"
#include "platform/PanelSurface.h"
#include "platform/Scheduler.h"
#include "platform/Screens.h"

#include <QObject>
#include <QSizeF>

#include <functional>
#include <memory>
#include <optional>

namespace cobblet {

class NotificationCenter;
class PopupSettings;

/// Shows, places, resizes and hides the one floating panel. Main thread only.
class FloatingPanelController : public QObject {
    Q_OBJECT
public:
    using MakePanel = std::function<std::unique_ptr<PanelSurface>()>;
    using GroupProvider = std::function<std::optional<AppGroup>()>;

    /// `makePanel` runs on first use of the panel.
    FloatingPanelController(MakePanel makePanel, Screens &screens, PopupSettings &popupSettings,
                            NotificationCenter &notifications, Scheduler &scheduler, QObject *parent = nullptr);
    ~FloatingPanelController() override;

    /// Supplies the group selected in the panel, whose anchor decides where it opens.
    void setGroupProvider(GroupProvider provider) { m_groupProvider = std::move(provider); }

    /// Makes the panel window now, so that the first show is fast.
    void createPanel();
    /// As after a click on the dock: above the click where the group wants that, else centred.
    void show();
    /// For everybody else, such as a key or another program: centred over the dock whatever the group's anchor.
    void showCentred();
    void hide();
    /// Points.
    void setDesiredSize(const QSizeF &size);

    bool isVisible() const;
    /// How far the panel is what it is meant to be. Makes the panel where it is not made yet.
    Availability availability() { return panel().availability(); }
    bool isHiding() const { return m_isHiding; }

    /// Escape hides; Command with a digit from 1 to 9 selects. True when the key is used up.
    bool handleKeyPress(int key, Qt::KeyboardModifiers modifiers, const QString &charactersIgnoringModifiers);

    /// The key monitor: to be installed on the windows of the panel and its popovers.
    bool eventFilter(QObject *watched, QEvent *event) override;

signals:
    /// How large the panel can be at most where it is about to be placed, in points.
    void roomChanged(const QSizeF &room);

private:
    PanelSurface &panel();
    void open(bool maybeClicked);
    /// Chooses the screen and, where the dock may have been clicked, the click point for the next placement; false
    /// when there is no screen.
    bool choosePlacement(bool maybeClicked);
    /// Of the desired size, on the chosen screen, whose room is announced.
    PanelPlace place();
    void followScreens();
    void resize();
    void resignedKey();

    MakePanel m_makePanel;
    Screens &m_screens;
    PopupSettings &m_popupSettings;
    NotificationCenter &m_notifications;
    Scheduler &m_scheduler;
    GroupProvider m_groupProvider;
    QSizeF m_desiredSize{600, 340};
    std::optional<Screen> m_placementScreen;
    std::optional<QPointF> m_placementAnchor; ///< absent: centred over the dock
    std::unique_ptr<PanelSurface> m_panel;
    bool m_isHiding = false;
    Scheduler::Handle m_pendingResize;
};

} // namespace cobblet
