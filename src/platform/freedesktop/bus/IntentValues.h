#pragma once

#include "platform/IntentsHost.h"

#include <QVariantMap>

namespace cobblet {

/// A match as KRunner takes it: (sssida{sv}).
struct RunnerMatch {
    QString id;
    QString text;
    QString icon;
    int category = 0;
    double relevance = 0;
    QVariantMap properties;
};

// What the interfaces' methods return: a(sss), a(ssss), a(sssida{sv}) and aa{sv}.
using GroupList = QList<GroupEntity>;
using OutcomeList = QList<IntentOutcome>;
using RunnerMatchList = QList<RunnerMatch>;
using VariantMapList = QList<QVariantMap>;

/// Makes these types known to the toolkit's D-Bus side; needed once, before they are sent.
void registerIntentValues();

} // namespace cobblet
