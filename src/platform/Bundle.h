#pragma once

#include <QString>

namespace cobblet {

/// What a program's own bundle says of it.
struct Bundle {
    QString identifier; ///< empty outside a bundle
    QString version;    ///< the short version string; empty when unavailable
    QString build;      ///< the bundle version; empty when unavailable
    QString executable; ///< the program's file
    QString path;       ///< the ".app" folder; empty outside a bundle

    QString resource(const QString &name) const { return path + QStringLiteral("/Contents/Resources/") + name; }

    /// Reads the bundle that holds an executable.
    static Bundle holding(const QString &executable);
};

} // namespace cobblet
