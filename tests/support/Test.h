#pragma once

#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <optional>

/// What nearly every test is written with.
namespace cobblet {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace test {

/// Runs the event loop until the condition holds; false when it does not within the time.
inline bool waitFor(const std::function<bool()> &condition, int milliseconds = 10'000)
{
    return QTest::qWaitFor(condition, milliseconds);
}

/// The whole of a file; empty when it can't be read.
inline QByteArray content(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// Writes a file, in folders that are made where they are missing.
inline bool write(const QString &path, const QByteArray &bytes)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    const bool isWritten = file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
    EXPECT_TRUE(isWritten) << qPrintable(path);
    return isWritten;
}

/// Writes a program in the language of the shell.
inline void writeProgram(const QString &path, const QByteArray &script)
{
    write(path, "#!/bin/sh\n" + script);
    QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

/// Keeps the warnings of the program and the toolkit while it lives, in place of printing them. One at a time.
class Warnings {
public:
    Warnings()
    {
        lines.clear();
        m_before = qInstallMessageHandler([](QtMsgType type, const QMessageLogContext &, const QString &message) {
            if (type != QtDebugMsg && type != QtInfoMsg)
                lines.append(message);
        });
    }
    ~Warnings() { qInstallMessageHandler(m_before); }
    Warnings(const Warnings &) = delete;
    Warnings &operator=(const Warnings &) = delete;

    static inline QStringList lines;

private:
    QtMessageHandler m_before;
};

} // namespace test

} // namespace cobblet
