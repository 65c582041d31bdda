#pragma once

#include "platform/IntentsHost.h"

#include <QVariant>

namespace cobblet {

/// A match as the runner takes it: (sssida{sv}).
struct RunnerMatch {
    QString id;
    QString text;
    QString icon;
    int category = 0;
    double relevance = 0;
    QVariantMap properties;
};

/// Lists as arguments of a reply: a(sss), a(ssss), a(sssida{sv}) and aa{sv}, also when they are empty.
QVariant busValue(const QList<IntentGroup> &groups);
QVariant busValue(const QList<IntentOutcome> &outcomes);
QVariant busValue(const QList<RunnerMatch> &matches);
QVariant busValue(const QList<QVariantMap> &maps);

} // namespace cobblet
