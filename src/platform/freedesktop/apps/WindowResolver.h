#pragma once

#include "platform/freedesktop/apps/ApplicationIndex.h"

#include <QHash>
#include <QString>
#include <QStringList>

namespace cobblet {

/// What a window says of itself. Its title is no part of this: anybody may put anything there.
struct WindowIdentity {
    QString gtkApplicationId; ///< _GTK_APPLICATION_ID
    QString kdeDesktopFile;   ///< _KDE_NET_WM_DESKTOP_FILE
    QString wmInstance;       ///< the first half of WM_CLASS
    QString wmClass;          ///< the second half

    bool operator==(const WindowIdentity &) const = default;
};

/// What is known of the process that owns a window; empty fields are unknown.
struct ProcessIdentity {
    qint64 pid = 0;
    QString executable; ///< the file it runs
    QStringList arguments;
    QString controlGroup;                   ///< the path of its control group
    QString flatpak;                        ///< the application that its sandbox is of
    QHash<QByteArray, QString> environment; ///< of these names only: see resolverEnvironment()
};

/// The environment variables that the resolver looks at.
const QByteArrayList &resolverEnvironment();

struct Resolution {
    QString id;                  ///< of an installed application; empty when no step decided
    QLatin1String by{"nothing"}; ///< the step that decided, as log lines name it

    bool operator==(const Resolution &) const = default;
};

/// What a person said: the identifier by the mark of a window or a process.
using Corrections = QHash<QString, QString>;

/// A window's class, or, where it has none, the program of its process as it was started; empty without both.
QString markOf(const WindowIdentity &window, const ProcessIdentity &process);

/// The first step. An application that is not installed any more is passed over.
Resolution resolveCorrection(const QString &mark, const Corrections &corrections, const ApplicationIndex &index);
/// The steps that need only the window.
Resolution resolveWindow(const WindowIdentity &window, const ApplicationIndex &index);
/// The steps that need the process.
Resolution resolveProcess(const ProcessIdentity &process, const ApplicationIndex &index);
/// All steps in order.
Resolution resolveApplication(const WindowIdentity &window, const ProcessIdentity &process,
                              const ApplicationIndex &index, const Corrections &corrections = {});

/// Why the step that decided says that it is this application, as a sentence.
QString reasonOf(const Resolution &resolution);

} // namespace cobblet
