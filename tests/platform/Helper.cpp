// The other process of the tests here.
//   platform_helper defaults FOLDER DOMAIN KEY COUNT   sets "KEY-0" ... "KEY-<COUNT-1>"
//   platform_helper claim IDENTIFIER                   claims, prints the role, and a line for each reopen

#include "platform/freedesktop/bus/DBusInstance.h"
#include "platform/freedesktop/bus/SessionBus.h"
#include "platform/portable/FileUserDefaults.h"

#include <QCoreApplication>

#include <cstdio>

using namespace cobblet;
using namespace Qt::StringLiterals;

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.value(1) == QLatin1String("defaults")) {
        FileUserDefaults defaults(arguments[2], arguments[3]);
        for (int i = 0; i < arguments[5].toInt(); ++i)
            if (!defaults.set(arguments[4] + QLatin1Char('-') + QString::number(i), i))
                return 1;
        return 0;
    }
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    SessionBus bus;
    DBusInstance instance(bus, arguments.value(2));
    QObject::connect(&instance, &Instance::reopen,
                     [](const QString &token) { std::puts(qPrintable(u"reopen "_s + token)); });
    const bool isFirst = instance.claim() == Instance::Role::First;
    std::puts(isFirst ? "first" : "handed over");
    return isFirst ? QCoreApplication::exec() : 0;
}
