#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

namespace cobblet {

/// What the builder of bundles uses of this desktop, as data: full paths of programs, which need not be there.
struct BundleTools {
    QString codesign;
    QString codesignAllocate;
    QString rsync;
    /// Attributes that other programs leave on files and that no bundle is signed with.
    QList<QByteArray> foreignAttributes;
};

/// Removes an extended attribute of a file, or of a link itself; one that is absent stays absent.
void removeExtendedAttribute(const QString &path, const QByteArray &attribute);

} // namespace cobblet
