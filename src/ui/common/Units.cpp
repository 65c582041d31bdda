#include "ui/common/Units.h"

#include <QFontDatabase>
#include <QGuiApplication>
#include <QRawFont>
#include <QScreen>

#include <cmath>
#include <numbers>

namespace cobblet {

double Units::springProgress(double seconds)
{
    constexpr double response = 0.22;
    constexpr double damping = 0.55;
    const double omega = 2 * std::numbers::pi / response;
    const double decay = damping * omega;
    const double ringing = omega * std::sqrt(1 - damping * damping);
    return 1 -
           std::exp(-decay * seconds) * (std::cos(ringing * seconds) + decay / ringing * std::sin(ringing * seconds));
}

QEasingCurve Units::spring()
{
    QEasingCurve curve;
    curve.setCustomType(
        [](qreal progress) { return progress >= 1 ? 1.0 : springProgress(progress * springDuration / 1000.0); });
    return curve;
}

QString Units::fixedFont()
{
    return QFontDatabase::systemFont(QFontDatabase::FixedFont).family();
}

QFont Units::emojiFont()
{
    return emojiFontOf(16);
}

QFont Units::emojiFontOf(int pixels)
{
    QFont font;
    font.setFamilies({QStringLiteral("Noto Color Emoji"), QStringLiteral("Apple Color Emoji"),
                      QStringLiteral("emoji"), font.family()});
    font.setPixelSize(pixels);
    return font;
}

bool Units::hasEmojiFont()
{
    return QRawFont::fromFont(emojiFont()).supportsCharacter(uint(U'💼'));
}

QFont Units::titleFont()
{
    const QScreen *screen = QGuiApplication::primaryScreen();
    const double dotsPerInch = screen ? screen->logicalDotsPerInchY() : 96;
    QFont font;
    font.setPointSizeF(11.5 * 72 / dotsPerInch);
    return font;
}

} // namespace cobblet
