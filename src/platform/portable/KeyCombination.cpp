#include "platform/portable/KeyCombination.h"

#include <QStringList>

#include <algorithm>

namespace cobblet {

namespace {

/// The virtual codes of the digits from 1 to 9 and of 0.
constexpr int digitCodes[] = {18, 19, 20, 21, 23, 22, 26, 28, 25, 29};

struct ModifierName {
    quint32 bit;
    QLatin1String text;
    QLatin1String trigger;
};

constexpr ModifierName modifierNames[] = {
    {modifier::control, QLatin1String("Ctrl"), QLatin1String("CTRL")},
    {modifier::option, QLatin1String("Alt"), QLatin1String("ALT")},
    {modifier::shift, QLatin1String("Shift"), QLatin1String("SHIFT")},
    {modifier::command, QLatin1String("Super"), QLatin1String("LOGO")},
};

QString joined(const HotKey &key, QLatin1String ModifierName::*notation)
{
    QStringList parts;
    for (const ModifierName &name : modifierNames)
        if (key.modifiers & name.bit)
            parts.append(name.*notation);
    const auto digit = std::find(std::begin(digitCodes), std::end(digitCodes), key.keyCode);
    parts.append(digit == std::end(digitCodes) ? QStringLiteral("key %1").arg(key.keyCode)
                                               : QString::number((digit - std::begin(digitCodes) + 1) % 10));
    return parts.join(QLatin1Char('+'));
}

} // namespace

QString combinationText(const HotKey &key)
{
    return joined(key, &ModifierName::text);
}

QString combinationTrigger(const HotKey &key)
{
    return joined(key, &ModifierName::trigger);
}

} // namespace cobblet
