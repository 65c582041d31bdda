#include "ui/settings/SettingsView.h"

#include "control/GroupSuggestionService.h"
#include "platform/UserDefaults.h"
#include "ui/common/AppIcons.h"

#include <QGuiApplication>
#include <QKeyEvent>
#include <QQuickView>
#include <QScreen>

#include <array>

// Generated for the QML module.
void qml_register_types_Cobblet_Settings();

namespace cobblet {

namespace {

constexpr QSize minimumSize{640, 600};
constexpr QSize firstSize{760, 640};

/// Where the window was, in points of the window system: "x y width height".
const QString frameKey = QStringLiteral("settingsWindowFrame");
/// Whether it filled the screen; its frame is then that of before.
const QString maximizedKey = QStringLiteral("settingsWindowMaximized");

std::optional<QRect> frameFrom(const QString &text)
{
    const QStringList parts = text.split(QLatin1Char(' '));
    std::array<int, 4> numbers{};
    if (parts.size() != qsizetype(numbers.size()))
        return {};
    for (size_t i = 0; i < numbers.size(); ++i) {
        bool isNumber = false;
        numbers[i] = parts[qsizetype(i)].toInt(&isNumber);
        if (!isNumber || std::abs(numbers[i]) > 100'000)
            return {};
    }
    return QRect(numbers[0], numbers[1], numbers[2], numbers[3]);
}

} // namespace

SettingsView::SettingsView(const SettingsDependencies &dependencies, GroupDrafts &drafts)
    : m_d(dependencies), m_theme(m_d.appearance), m_model(m_d, drafts),
      m_engine(m_theme, m_d.appearance, m_d.menus, {m_d.emojiTables, m_d.sharedDefaults})
{
    // Naming it is enough to keep the linker from dropping the module's types; the engine registers them.
    volatile auto types = &qml_register_types_Cobblet_Settings;
    Q_UNUSED(types)
    m_theme.refresh();
    m_model.provideTo(m_engine);
    m_engine.addImageProvider(QStringLiteral("applications"), new AppIcons(m_d.workspace));

    m_view = std::make_unique<QQuickView>(&m_engine, nullptr);
    m_view->setTitle(QStringLiteral("Cobblet Settings"));
    m_view->setResizeMode(QQuickView::SizeRootObjectToView);
    m_view->setMinimumSize(minimumSize);
    restoreFrame();
    m_model.setWindow(m_view.get());
    const auto followColors = [this] { m_view->setColor(m_engine.theme().pageColor()); };
    followColors();
    connect(&m_engine.theme(), &ThemeColors::changed, this, followColors);
    connect(&m_model, &SettingsViewModel::closeRequested, m_view.get(), &QWindow::close);
    connect(&m_model, &SettingsViewModel::settingFound, this,
            [this] { m_engine.decorations().setKeyboardFocus(true); });
    // What is suggested may have changed; the window comes first.
    connect(
        m_view.get(), &QQuickWindow::frameSwapped, this, [this] { m_d.suggestions.refresh(); },
        Qt::ConnectionType(Qt::QueuedConnection | Qt::SingleShotConnection));
    m_view->installEventFilter(this);
    m_engine.decorations().follow(*m_view);
    m_view->setSource(QUrl(QStringLiteral("qrc:/qt-project.org/imports/Cobblet/Settings/SettingsView.qml")));
}

SettingsView::~SettingsView()
{
    m_view->removeEventFilter(this);
    m_view->disconnect(this);
}

QQuickWindow &SettingsView::window()
{
    return *m_view;
}

void SettingsView::restoreFrame()
{
    const auto last = frameFrom(m_d.standardDefaults.string(frameKey).value_or(QString()));
    if (m_d.standardDefaults.boolean(maximizedKey))
        m_view->setWindowStates(Qt::WindowMaximized);
    m_view->resize(last ? last->size().expandedTo(minimumSize) : firstSize);
    if (!last)
        return;
    // A window whose title bar no screen shows any more is placed by the desktop, as a new one is.
    for (const QScreen *screen : QGuiApplication::screens()) {
        const QRect area = screen->availableGeometry();
        if (!area.intersects(QRect(last->topLeft(), QSize(last->width(), 40))))
            continue;
        m_view->resize(last->size().boundedTo(area.size()).expandedTo(minimumSize));
        return m_view->setFramePosition(last->topLeft());
    }
}

void SettingsView::saveFrame()
{
    const bool isMaximized = m_view->windowStates() & (Qt::WindowMaximized | Qt::WindowFullScreen);
    (void)m_d.standardDefaults.set(maximizedKey, isMaximized);
    if (isMaximized)
        return;
    const QPoint at = m_view->framePosition();
    const QSize size = m_view->size();
    (void)m_d.standardDefaults.set(
        frameKey, QStringLiteral("%1 %2 %3 %4").arg(at.x()).arg(at.y()).arg(size.width()).arg(size.height()));
}

bool SettingsView::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::KeyPress) {
        const auto &press = static_cast<const QKeyEvent &>(*event);
        if (m_model.handleKey(press.key(), press.modifiers()))
            return true;
    } else if (event->type() == QEvent::Close) {
        saveFrame();
        emit closed();
    }
    return QObject::eventFilter(watched, event);
}

} // namespace cobblet
