#include "platform/freedesktop/intents/BusInterface.h"

#include <QTextStream>

#include <algorithm>

namespace cobblet {

namespace {

void describe(QTextStream &out, const char *description)
{
    if (*description)
        out << R"(<annotation name="org.gtk.GDBus.DocString" value=")"
            << QString::fromLatin1(description).toHtmlEscaped() << "\"/>\n";
}

void list(QTextStream &out, const std::vector<BusArgument> &arguments, const char *direction)
{
    for (const BusArgument &argument : arguments)
        out << R"(<arg name=")" << argument.name << R"(" type=")" << argument.type << R"(" direction=")" << direction
            << "\"/>\n";
}

} // namespace

QString BusMethod::signature() const
{
    QString signature;
    for (const BusArgument &argument : in)
        signature += QLatin1String(argument.type);
    return signature;
}

const BusMethod *BusInterface::method(const QString &member) const
{
    const auto found = std::find_if(methods.begin(), methods.end(),
                                    [&](const BusMethod &method) { return member == QLatin1String(method.name); });
    return found == methods.end() ? nullptr : &*found;
}

QString BusInterface::introspection() const
{
    QString xml;
    QTextStream out(&xml);
    out << R"(<interface name=")" << name << "\">\n";
    describe(out, description);
    for (const BusMethod &method : methods) {
        out << R"(<method name=")" << method.name << "\">\n";
        describe(out, method.description);
        list(out, method.in, "in");
        list(out, method.out, "out");
        out << "</method>\n";
    }
    for (const BusSignal &notice : notices) {
        out << R"(<signal name=")" << notice.name << "\">\n";
        describe(out, notice.description);
        out << "</signal>\n";
    }
    out << "</interface>\n";
    return xml;
}

} // namespace cobblet
