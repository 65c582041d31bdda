#include "shell/FloatingPanelController.h"

#include "model/Notifications.h"
#include "model/PopupSettings.h"
#include "shell/PanelPlacement.h"

#include <QGuiApplication>
#include <QKeyEvent>
#include <QWindow>

#include <algorithm>

namespace cobblet {

namespace {

/// Fades and resizes, in seconds.
constexpr double animationTime = 0.18;

/// A decimal number with an optional sign, and nothing else.
std::optional<int> decimal(const QString &text)
{
    const qsizetype first = text.startsWith(QLatin1Char('+')) || text.startsWith(QLatin1Char('-')) ? 1 : 0;
    const auto isDigit = [](QChar c) { return c >= QLatin1Char('0') && c <= QLatin1Char('9'); };
    if (!std::all_of(text.begin() + first, text.end(), isDigit))
        return std::nullopt;
    bool ok = false;
    const int number = text.toInt(&ok);
    return ok ? std::optional(number) : std::nullopt;
}

/// What the key types without the modifiers but Shift. The event's own text will not do: with Control held it
/// is a control character.
QString charactersIgnoringModifiers(const QKeyEvent &event)
{
    return event.key() > Qt::Key_Space && event.key() <= Qt::Key_AsciiTilde ? QString(QChar(event.key())) : QString();
}

/// Menus and modal dialogs take every key themselves, Escape above all.
bool keysBelongElsewhere()
{
    const QWindowList windows = QGuiApplication::allWindows();
    return QGuiApplication::modalWindow() || std::any_of(windows.begin(), windows.end(), [](const QWindow *window) {
               return window->type() == Qt::Popup && window->isVisible();
           });
}

} // namespace

FloatingPanelController::FloatingPanelController(MakePanel makePanel, Screens &screens, PopupSettings &popupSettings,
                                                 NotificationCenter &notifications, Scheduler &scheduler,
                                                 QObject *parent)
    : QObject(parent), m_makePanel(std::move(makePanel)), m_screens(screens), m_popupSettings(popupSettings),
      m_notifications(notifications), m_scheduler(scheduler)
{
    connect(&notifications, &NotificationCenter::showPanel, this, &FloatingPanelController::showCentred);
    connect(&notifications, &NotificationCenter::closePanel, this, &FloatingPanelController::hide);
    connect(&notifications, &NotificationCenter::openSettings, &notifications, &NotificationCenter::closePanel);
    connect(&notifications, &NotificationCenter::panelDesiredSizeChanged, this,
            &FloatingPanelController::setDesiredSize);
    connect(&screens, &Screens::changed, this, &FloatingPanelController::followScreens);
}

FloatingPanelController::~FloatingPanelController() = default;

void FloatingPanelController::createPanel()
{
    panel();
}

PanelSurface &FloatingPanelController::panel()
{
    if (!m_panel) {
        m_panel = m_makePanel();
        connect(m_panel.get(), &PanelSurface::resignedKey, this, &FloatingPanelController::resignedKey);
    }
    return *m_panel;
}

bool FloatingPanelController::isVisible() const
{
    return m_panel && m_panel->isVisible();
}

void FloatingPanelController::show()
{
    open(true);
}

void FloatingPanelController::showCentred()
{
    open(false);
}

void FloatingPanelController::open(bool maybeClicked)
{
    if (isVisible() && !m_isHiding) {
        m_panel->makeKeyAndOrderFront();
        return;
    }
    m_isHiding = false;
    PanelSurface &surface = panel();
    if (!choosePlacement(maybeClicked))
        return;
    m_pendingResize.reset();
    surface.setPlace(place());
    surface.setAlpha(0);
    surface.makeKeyAndOrderFront();
    surface.fade(1, animationTime, Easing::Out);
}

bool FloatingPanelController::choosePlacement(bool maybeClicked)
{
    const QList<Screen> screens = m_screens.screens();
    if (screens.isEmpty())
        return false;
    m_placementScreen = screens.first();
    m_placementAnchor.reset();
    if (!maybeClicked)
        return true;

    const std::optional<AppGroup> group = m_groupProvider ? m_groupProvider() : std::nullopt;
    if (m_popupSettings.effectiveLayout(group ? &*group : nullptr).anchor != PopupAnchor::DockIcon)
        return true;
    const std::optional<QPointF> pointer = m_screens.pointer();
    if (!pointer)
        return true;
    const auto under = std::find_if(screens.begin(), screens.end(), [&pointer](const Screen &screen) {
        return placement::contains(screen.frame, *pointer);
    });
    if (under == screens.end())
        return true;
    m_placementAnchor = placement::dockClickPoint(*under, *pointer);
    if (m_placementAnchor)
        m_placementScreen = *under;
    return true;
}

PanelPlace FloatingPanelController::place()
{
    emit roomChanged(placement::room(*m_placementScreen));
    return placement::place(*m_placementScreen, m_desiredSize, m_placementAnchor);
}

void FloatingPanelController::hide()
{
    if (!isVisible() || m_isHiding)
        return;
    m_isHiding = true;
    m_pendingResize.reset();
    m_panel->fade(0, animationTime, Easing::In, [this] {
        if (!m_isHiding)
            return;
        m_panel->orderOut();
        m_panel->setAlpha(1);
        m_isHiding = false;
    });
}

void FloatingPanelController::setDesiredSize(const QSizeF &size)
{
    if (size == m_desiredSize)
        return;
    m_desiredSize = size;
    if (isVisible() && !m_isHiding)
        m_pendingResize = m_scheduler.after(std::chrono::milliseconds(0), [this] { resize(); });
}

/// A dock or a screen came, went or moved while the panel is open: it keeps its place beside the dock.
void FloatingPanelController::followScreens()
{
    if (!isVisible() || m_isHiding)
        return;
    const QList<Screen> screens = m_screens.screens();
    const auto same = std::find_if(screens.begin(), screens.end(),
                                   [this](const Screen &screen) { return screen.name == m_placementScreen->name; });
    if (same == screens.end() ? choosePlacement(false) : *same != *m_placementScreen) {
        if (same != screens.end())
            m_placementScreen = *same;
        m_pendingResize = m_scheduler.after(std::chrono::milliseconds(0), [this] { resize(); });
    }
}

void FloatingPanelController::resize()
{
    m_panel->animatePlace(place(), animationTime, Easing::Out);
}

void FloatingPanelController::resignedKey()
{
    if (m_isHiding || m_panel->hasModalWindow())
        return;
    if (m_panel->otherKeyWindow() == KeyWindow::Borderless) {
        m_panel->orderOutOtherKeyWindow();
        m_panel->makeKeyAndOrderFront();
        return;
    }
    hide();
}

bool FloatingPanelController::handleKeyPress(int key, Qt::KeyboardModifiers modifiers, const QString &characters)
{
    if (key == Qt::Key_Escape) {
        hide();
        return true;
    }
    if (!modifiers.testFlag(Qt::ControlModifier)) // the Command key, as Qt maps it
        return false;
    const std::optional<int> digit = decimal(characters);
    if (!digit || *digit < 1 || *digit > 9)
        return false;
    emit m_notifications.selectGroupShortcut(*digit);
    return true;
}

bool FloatingPanelController::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() != QEvent::KeyPress || keysBelongElsewhere())
        return QObject::eventFilter(watched, event);
    const auto &press = static_cast<const QKeyEvent &>(*event);
    return handleKeyPress(press.key(), press.modifiers(), charactersIgnoringModifiers(press));
}

} // namespace cobblet
