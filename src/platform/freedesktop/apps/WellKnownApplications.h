#pragma once

#include "platform/freedesktop/apps/InstalledApplications.h"
#include "platform/freedesktop/apps/MimeDefaults.h"

#include <QHash>
#include <QMutex>
#include <QString>

namespace cobblet {

/// This desktop's counterparts of the identifiers that applications have on other desktops. Any thread.
class WellKnownApplications {
public:
    WellKnownApplications(const InstalledApplications &installed, MimeDefaults mimeDefaults);

    /// The counterpart; the identifier itself when it is not a well-known one, or nothing here fits.
    QString resolved(const QString &id) const;
    /// Decides afresh from now on.
    void forget();

    static bool isWellKnown(const QString &id);

private:
    QString decide(const QByteArray &rules) const;
    QString byTraits(const QByteArrayList &categories, const QByteArray &keyword) const;
    bool isInstalled(const QString &id) const { return m_installed.entry(id).ok(); }

    const InstalledApplications &m_installed;
    mutable QMutex m_mutex;
    mutable MimeDefaults m_mimeDefaults;
    mutable QHash<QString, QString> m_resolved;
};

} // namespace cobblet
