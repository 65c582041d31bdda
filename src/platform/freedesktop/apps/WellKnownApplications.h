#pragma once

#include "platform/freedesktop/apps/InstalledApplications.h"

#include <QHash>
#include <QMutex>
#include <QString>

namespace cobblet {

/// This desktop's counterparts of the identifiers that applications have on other desktops. Any thread.
class WellKnownApplications {
public:
    explicit WellKnownApplications(const InstalledApplications &installed) : m_installed(installed) {}

    /// The counterpart; the identifier itself when it is not a well-known one, or nothing here fits.
    QString resolved(const QString &id) const;
    /// Decides afresh from now on.
    void forget();

private:
    /// What a rule leads to, installed or not; may be empty.
    QString candidate(const QByteArray &rule) const;
    QString byTraits(const QByteArrayList &categories, const QByteArray &keyword) const;

    const InstalledApplications &m_installed;
    mutable QMutex m_mutex;
    mutable QHash<QString, QString> m_resolved;
};

} // namespace cobblet
