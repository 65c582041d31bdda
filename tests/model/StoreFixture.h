#pragma once

#include "model/ConfigManager.h"
#include "model/GroupCoding.h"
#include "support/FakeDesktop.h"
#include "support/TemporaryHome.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTest>

#include <gtest/gtest.h>

namespace cobblet::test {

/// "Name:app,app|Name:" as groups, and back.
inline QList<AppGroup> groups(const char *text)
{
    QList<AppGroup> list;
    for (const QString &part : QString::fromUtf8(text).split(QLatin1Char('|'), Qt::SkipEmptyParts)) {
        AppGroup group;
        group.name = part.section(QLatin1Char(':'), 0, 0);
        for (const QString &app : part.section(QLatin1Char(':'), 1).split(QLatin1Char(','), Qt::SkipEmptyParts))
            group.apps.append({app.toUpper(), app});
        list.append(group);
    }
    return list;
}

inline std::string text(const QList<AppGroup> &groups)
{
    QStringList parts;
    for (const AppGroup &group : groups) {
        QStringList apps;
        for (const AppItem &app : group.apps)
            apps.append(app.bundleID);
        parts.append(group.name + QLatin1Char(':') + apps.join(QLatin1Char(',')));
    }
    return parts.join(QLatin1Char('|')).toStdString();
}

/// A folder and the preferences that several stores of a test share.
class StoreTest : public testing::Test {
protected:
    static QString groupsKey() { return QStringLiteral("cobblet_groups"); }
    static QString shortcutsKey() { return QStringLiteral("cobblet_shortcuts"); }

    ConfigManager::Options options() const { return {folder}; }
    QString file() const { return folder + QStringLiteral("/groups.json"); }

    QByteArray onDisk() const
    {
        QFile f(file());
        return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
    }
    void put(const QByteArray &content) const
    {
        QDir().mkpath(folder);
        QFile f(file());
        ASSERT_TRUE(f.open(QIODevice::WriteOnly) && f.write(content) == content.size());
    }
    std::string inDefaults() const
    {
        return text(decodeGroups(defaults.stored.value(groupsKey()).toByteArray()).value());
    }
    QStringList setAside() const
    {
        return QDir(folder).entryList({QStringLiteral("groups.json.corrupt-*")},
                                      QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot, QDir::Name);
    }

    /// Runs the event loop until the condition holds; how long that took in ms, or -1 after two seconds.
    template<class Condition>
    static qint64 waitFor(Condition condition)
    {
        QElapsedTimer timer;
        timer.start();
        return QTest::qWaitFor(condition, 2000) ? timer.elapsed() : -1;
    }

    TemporaryHome home;
    QString folder = home.path(QStringLiteral("support/Cobblet"));
    FakeDefaults defaults;
};

} // namespace cobblet::test
