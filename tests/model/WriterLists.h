#pragma once

#include "model/AppGroup.h"

namespace cobblet::test {

inline constexpr int editsPerWriter = 200;

/// A list in which every value comes from the number, and whose length changes with it.
inline QList<AppGroup> numberedList(int number)
{
    QList<AppGroup> list;
    const auto length = ushort(20 + number % 7);
    for (ushort g = 0; g < length; ++g) {
        AppGroup group;
        group.id = QUuid(uint(number), g, 1, 1, 1, 1, 1, 1, 1, 1, 1);
        group.name = QString::number(number);
        for (int a = 0; a < 20; ++a)
            group.apps.append({group.name, QStringLiteral("app%1.%2").arg(a).arg(number)});
        list.append(group);
    }
    return list;
}

/// The number that the list was made from; absent for any other list.
inline std::optional<int> numberOf(const QList<AppGroup> &list)
{
    const int number = list.isEmpty() ? 0 : list.constFirst().name.toInt();
    return number > 0 && list == numberedList(number) ? std::optional(number) : std::nullopt;
}

} // namespace cobblet::test
