// The other process of the tests here.
//   platform_helper defaults FOLDER DOMAIN KEY COUNT   sets "KEY-0" ... "KEY-<COUNT-1>"
//   platform_helper claim IDENTIFIER                   claims, prints the role, and a line for each reopen

#include "platform/freedesktop/bus/DBusInstance.h"
#include "platform/freedesktop/bus/SessionBus.h"
#include "platform/portable/FileUserDefaults.h"

#include <QCoreApplication>

#include <cstdio>

using namespace cobblet;

namespace {

void say(const QString &line)
{
    std::puts(line.toLocal8Bit().constData());
    std::fflush(stdout);
}

int changeDefaults(const QStringList &arguments)
{
    FileUserDefaults defaults(arguments[2], arguments[3]);
    for (int i = 0; i < arguments[5].toInt(); ++i)
        if (!defaults.set(arguments[4] + QLatin1Char('-') + QString::number(i), i))
            return 1;
    return 0;
}

int claim(const QString &identifier)
{
    SessionBus bus;
    DBusInstance instance(bus, identifier);
    QObject::connect(&instance, &Instance::reopen,
                     [](const QString &token) { say(QStringLiteral("reopen ") + token); });
    if (instance.claim() == Instance::Role::HandedOver) {
        say(QStringLiteral("handed over"));
        return 0;
    }
    say(QStringLiteral("first"));
    return QCoreApplication::exec();
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.value(1) == QLatin1String("defaults") && arguments.size() == 6)
        return changeDefaults(arguments);
    if (arguments.value(1) == QLatin1String("claim") && arguments.size() == 3)
        return claim(arguments[2]);
    return 2;
}
