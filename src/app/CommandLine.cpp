#include "app/CommandLine.h"

namespace cobblet {

CommandLine CommandLine::parse(const QStringList &arguments)
{
    CommandLine result;
    for (const QString &argument : arguments) {
        if (argument == QLatin1String("--help") || argument == QLatin1String("-h"))
            return {Verb::Help, {}};
        if (argument == QLatin1String("--version"))
            result.verb = Verb::Version;
        else
            return {Verb::Invalid, argument};
    }
    return result;
}

QString CommandLine::usage()
{
    return QStringLiteral("Usage: cobblet [--help | --version]\n"
                          "Starts Cobblet and shows its panel. If it runs already, its panel is shown.\n");
}

} // namespace cobblet
