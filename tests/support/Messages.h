#pragma once

#include "model/Notifications.h"

#include <QStringList>

namespace cobblet::test {

/// Appends each message to the log, by its name and with its payload ("Cobblet.selectGroupShortcut 2").
inline void record(NotificationCenter &center, QStringList &log)
{
    const auto note = [&log](const char *message, const QString &payload = {}) {
        log.append((QStringLiteral("Cobblet.%1 ").arg(QLatin1String(message)) + payload).trimmed());
    };
    using Center = NotificationCenter;
    QObject::connect(&center, &Center::showPanel, &center, [note] { note("showPanel"); });
    QObject::connect(&center, &Center::closePanel, &center, [note] { note("closePanel"); });
    QObject::connect(&center, &Center::openSettings, &center, [note] { note("openSettings"); });
    QObject::connect(&center, &Center::selectGroupShortcut, &center,
                     [note](int digit) { note("selectGroupShortcut", QString::number(digit)); });
    QObject::connect(&center, &Center::selectGroupByID, &center, [note](const QUuid &id) {
        note("selectGroupByID", id.toString(QUuid::WithoutBraces).toUpper());
    });
    QObject::connect(&center, &Center::panelDesiredSizeChanged, &center, [note](const QSizeF &size) {
        note("panelDesiredSizeChanged", QStringLiteral("%1x%2").arg(size.width()).arg(size.height()));
    });
}

} // namespace cobblet::test
