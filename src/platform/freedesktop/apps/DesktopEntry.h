#pragma once

#include <QByteArrayList>
#include <QString>
#include <QStringList>

namespace cobblet {

class KeyFile;

/// The keys of a desktop entry that tell applications apart, in their untranslated form.
struct DesktopEntry {
    QStringList exec; ///< the command split into arguments, field codes dropped
    QString startupWMClass;
    QString snapInstance;      ///< X-SnapInstanceName
    QString flatpak;           ///< X-Flatpak
    QByteArrayList categories; ///< lower case
    QByteArrayList keywords;   ///< lower case

    DesktopEntry() = default;
    explicit DesktopEntry(const KeyFile &file);
};

/// What the field codes of a command line stand for.
struct ExecFields {
    QString name;     ///< %c
    QString icon;     ///< %i, as two arguments
    QString path;     ///< %k
    QStringList uris; ///< %u and %U; %f and %F as local paths. Appended where the command has no place for them.
};

/// A command line of the Desktop Entry format as the arguments to run; empty when its quotes do not match.
QStringList expandExec(const QString &command, const ExecFields &fields = {});

/// The arguments less a leading `env NAME=value ...`, as far as it can be told.
QStringList withoutEnvPrefix(QStringList arguments);

/// The file name of an entry as an identifier: "a/b.desktop" and "/x/b.desktop" end in "b". An empty text
/// for anything that cannot be a file name.
QString entryIdFromFileName(const QString &fileName);

} // namespace cobblet
