#pragma once

#include <QString>
#include <QStringList>

namespace cobblet {

/// What the command line asks for.
struct CommandLine {
    enum class Verb { Start, Help, Version, Invalid };

    Verb verb = Verb::Start;
    QString invalid; ///< the first argument that is not understood

    /// `arguments` without the program's name.
    static CommandLine parse(const QStringList &arguments);
    static QString usage();
};

} // namespace cobblet
