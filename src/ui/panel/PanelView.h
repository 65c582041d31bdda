#pragma once

#include "ui/common/ControlsEngine.h"
#include "ui/panel/PanelViewModel.h"

#include <memory>

class QKeyEvent;
class QQuickView;
class QQuickWindow;

namespace cobblet {

/// The launcher panel's content in a window of its own, not shown yet. The window is translucent; whoever
/// shows it places it and makes it a floating panel. Main thread only.
class PanelView : public QObject {
    Q_OBJECT
public:
    explicit PanelView(const PanelDependencies &dependencies);
    ~PanelView() override;

    QQuickWindow &window();
    PanelViewModel &model() { return m_model; }
    ControlsEngine &engine() { return m_engine; }
    /// The group on show, whose anchor decides where the panel opens.
    std::optional<AppGroup> selectedGroup() const { return m_model.selectedGroup(); }
    /// The glassy palettes are as dense as what lies behind the panel asks for.
    void setBackdrop(Backdrop backdrop) { m_engine.theme().setBackdrop(backdrop); }
    /// An event filter that sees the keys of the panel and its popovers first.
    void setKeyMonitor(QObject &monitor);

    /// The corner radius that the content is drawn with, in points.
    static double cornerRadius();

    /// The window's keys, modifiers and presses, before its items see them.
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void followPixelRatio();

    PanelViewModel m_model;
    IconProvider &m_icons;
    ControlsEngine m_engine;
    std::unique_ptr<QQuickView> m_view;
};

/// The modifier keys held once this key press or release has taken effect.
Qt::KeyboardModifiers modifiersAfter(const QKeyEvent &event);

} // namespace cobblet
