#include "platform/freedesktop/KeyPositions.h"

#include <QStringList>

#include <algorithm>

namespace cobblet {

namespace {

constexpr KeyPosition digits[] = {
    {18, "AE01", 10, '1'}, {19, "AE02", 11, '2'}, {20, "AE03", 12, '3'}, {21, "AE04", 13, '4'}, {23, "AE05", 14, '5'},
    {22, "AE06", 15, '6'}, {26, "AE07", 16, '7'}, {28, "AE08", 17, '8'}, {25, "AE09", 18, '9'}, {29, "AE10", 19, '0'},
};

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
    const KeyPosition *position = keyPosition(key.keyCode);
    parts.append(position ? QString(QLatin1Char(position->label)) : QStringLiteral("key %1").arg(key.keyCode));
    return parts.join(QLatin1Char('+'));
}

} // namespace

std::span<const KeyPosition> keyPositions()
{
    return digits;
}

const KeyPosition *keyPosition(int virtualKey)
{
    const auto *found = std::find_if(std::begin(digits), std::end(digits),
                                     [virtualKey](const KeyPosition &p) { return p.virtualKey == virtualKey; });
    return found == std::end(digits) ? nullptr : found;
}

QString combinationText(const HotKey &key)
{
    return joined(key, &ModifierName::text);
}

QString combinationTrigger(const HotKey &key)
{
    return joined(key, &ModifierName::trigger);
}

} // namespace cobblet
