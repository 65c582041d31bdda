#pragma once

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <gtest/gtest.h>

namespace cobblet::test {

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

} // namespace cobblet::test
