#include "platform/freedesktop/bus/PortalAppearance.h"

#include "platform/freedesktop/bus/SessionBus.h"

#include <QDBusArgument>
#include <QDBusVariant>
#include <QFile>
#include <QGuiApplication>
#include <QLoggingCategory>
#include <QPalette>
#include <QStandardPaths>

namespace cobblet {

Q_LOGGING_CATEGORY(lcAppearance, "cobblet.appearance")

namespace {

const QString interface = QStringLiteral("org.freedesktop.portal.Settings");
const QString appearance = QStringLiteral("org.freedesktop.appearance");
const QString colorScheme = QStringLiteral("color-scheme");
const QString accent = QStringLiteral("accent-color");

constexpr QRgb standardBlue = qRgb(0, 122, 255);
constexpr qint64 maximumSettingsBytes = 64 * 1024;

/// Portals wrap their answer in one variant or in two.
QVariant unwrapped(QVariant value)
{
    for (int depth = 0; depth < 4 && value.metaType() == QMetaType::fromType<QDBusVariant>(); ++depth)
        value = value.value<QDBusVariant>().variant();
    return value;
}

/// Three components from 0 to 1; anything else means that no colour was chosen.
QColor colorFrom(const QVariant &value)
{
    const auto argument = value.value<QDBusArgument>();
    if (argument.currentSignature() != QLatin1String("(ddd)"))
        return {};
    double red = -1, green = -1, blue = -1;
    argument.beginStructure();
    argument >> red >> green >> blue;
    argument.endStructure();
    for (const double component : {red, green, blue})
        if (!(component >= 0 && component <= 1))
            return {};
    return QColor::fromRgbF(float(red), float(green), float(blue));
}

} // namespace

PortalAppearance::PortalAppearance(SessionBus &bus) : m_bus(bus), m_dark(guessDark()), m_accent(standardBlue)
{
    if (!m_bus.connection().isConnected())
        return;
    ask();
    // Any sender: naming the portal would make the toolkit wait for the bus to say who owns that name. The
    // signal is only a reason to ask the portal again.
    m_bus.connection().connect(QString(), portalPath, interface, QStringLiteral("SettingChanged"), this,
                               SLOT(settingChanged(QDBusMessage)));
}

Availability PortalAppearance::availability() const
{
    return m_known ? Availability::works(QStringLiteral("The desktop's settings portal tells light from dark."))
                   : Availability::partly(QStringLiteral(
                         "The desktop's settings portal does not tell light from dark: the toolkit's colours decide, "
                         "and a change is seen at the next start. Install xdg-desktop-portal with the part for this "
                         "desktop."));
}

void PortalAppearance::ask()
{
    for (const QString &key : {colorScheme, accent})
        callSessionBus(&m_bus, this,
                       busCall(portalService, portalPath, interface, QStringLiteral("Read"), {appearance, key}),
                       [this, key](const QDBusMessage &reply) { answered(key, reply); });
}

void PortalAppearance::answered(const QString &key, const QDBusMessage &reply)
{
    const QVariant value = unwrapped(reply.arguments().value(0));
    if (key == accent) { // desktops without accent colours answer with an error
        const QColor color = colorFrom(value);
        set(m_dark, color.isValid() ? color : QColor(standardBlue));
    } else if (reply.type() == QDBusMessage::ReplyMessage && value.metaType() == QMetaType::fromType<uint>()) {
        const uint scheme = value.toUInt();
        m_known = true;
        set(scheme == 1 ? true : scheme == 2 ? false : guessDark(), m_accent);
    } else if (!std::exchange(m_warned, true)) {
        qCInfo(lcAppearance).noquote()
            << QStringLiteral(
                   "The desktop's settings portal does not tell light from dark, the toolkit's colours decide: %1")
                   .arg(reply.errorMessage());
    }
}

void PortalAppearance::settingChanged(const QDBusMessage &message)
{
    if (message.arguments().value(0).toString() == appearance)
        ask();
}

void PortalAppearance::set(bool dark, const QColor &color)
{
    if (dark == m_dark && color == m_accent)
        return;
    m_dark = dark;
    m_accent = color;
    emit changed();
}

/// Read as plain lines: the file is small and only two of its keys matter.
bool PortalAppearance::guessDark()
{
    QFile settings(QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
                   QStringLiteral("/gtk-3.0/settings.ini"));
    if (settings.open(QIODevice::ReadOnly)) {
        for (const QByteArray &line : settings.read(maximumSettingsBytes).split('\n')) {
            const qsizetype equals = line.indexOf('=');
            const QByteArray key = line.left(std::max<qsizetype>(equals, 0)).trimmed();
            const QByteArray value = line.mid(equals + 1).trimmed().toLower();
            if ((key == "gtk-application-prefer-dark-theme" && (value == "1" || value == "true")) ||
                (key == "gtk-theme-name" && value.endsWith("-dark")))
                return true;
        }
    }
    return QGuiApplication::palette().color(QPalette::Window).lightness() < 128;
}

} // namespace cobblet
