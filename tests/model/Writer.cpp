// A process that changes the list of groups over and over.
//   model_writer loop FOLDER         rewrites the whole list until it is killed; writes a line once it has begun
//   model_writer edits FOLDER NAME   makes 200 edits
#include "FileDefaults.h"
#include "WriterLists.h"
#include "model/ConfigManager.h"

#include <QCoreApplication>

#include <cstdio>

using namespace cobblet;

namespace {

void loop(ConfigManager &manager)
{
    for (int number = test::numberOf(manager.groups()).value_or(0) + 1;; ++number) {
        manager.replaceGroups(test::numberedList(number));
        if (number % 4 == 1) {
            std::puts("saving");
            std::fflush(stdout);
        }
    }
}

void edits(ConfigManager &manager, const QString &name)
{
    const QUuid shared = manager.groups().constFirst().id;
    for (int i = 0; i < test::editsPerWriter / 2; ++i) {
        const QString text = QStringLiteral("%1 %2").arg(name).arg(i);
        manager.addApps({{text, text}}, shared);
        AppGroup group;
        group.name = text;
        manager.addGroup(group);
    }
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = application.arguments();
    const QString folder = arguments.value(2);
    const auto defaults = test::makeTestDefaults(folder + QStringLiteral("/defaults"));
    ConfigManager manager({folder + QStringLiteral("/Cobblet")}, *defaults);
    if (arguments.value(1) == QLatin1String("loop"))
        loop(manager);
    edits(manager, arguments.value(3));
    return 0;
}
