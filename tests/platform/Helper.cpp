// The other process of the tests here: claims the identifier it is given, prints the role, and a line for each
// reopen.

#include "platform/freedesktop/bus/DBusInstance.h"
#include "platform/freedesktop/bus/SessionBus.h"

#include <QCoreApplication>

#include <cstdio>

using namespace cobblet;
using namespace Qt::StringLiterals;

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    SessionBus bus;
    DBusInstance instance(bus, QCoreApplication::arguments().value(1));
    QObject::connect(&instance, &Instance::reopen,
                     [](const QString &token) { std::puts(qPrintable(u"reopen "_s + token)); });
    const bool isFirst = instance.claim() == Instance::Role::First;
    std::puts(isFirst ? "first" : "handed over");
    return isFirst ? QCoreApplication::exec() : 0;
}
