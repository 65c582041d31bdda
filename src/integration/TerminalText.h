#pragma once

#include "model/AppGroup.h"
#include "platform/IntentsHost.h"

namespace cobblet::terminal {

/// The text with everything replaced that would act on a terminal or turn the text around: control characters,
/// line breaks, marks of writing direction.
QString harmless(const QString &text);

/// One line for each group: its id, which is as long as any other, its emoji and its name.
QString lines(const QList<GroupEntity> &groups);

/// A JSON array of objects with "id", "name", "emoji" and "apps" (objects with "name" and "bundleID").
QString json(const QList<AppGroup> &groups);

/// One line for each application: "Name: launched".
QString lines(const QList<IntentOutcome> &outcomes);

} // namespace cobblet::terminal
