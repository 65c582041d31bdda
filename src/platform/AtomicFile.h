#pragma once

#include "platform/Result.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

namespace cobblet {

/// Writes `bytes` to a temporary file beside `path`, flushes it to disk and renames it over `path`, so that
/// a reader, and a process killed at any moment, find the old or the new content. Missing folders are made.
/// Writers of one path must hold the same FileLock: the temporary name is fixed, so that a killed writer
/// leaves nothing that piles up.
Status writeAtomically(const QString &path, const QByteArray &bytes);

enum class Flush {
    Yes,
    No ///< a power cut may leave the file empty: for what can be made again from files that nobody flushes either
};

/// The same, but a link at `path` is itself replaced, and what it leads to stays as it is.
Status replaceAtomically(const QString &path, const QByteArray &bytes, Flush flush = Flush::Yes);

/// Renames what stands at `path`, whatever it is, to "PATH.corrupt-DATE", and removes all but the newest three files
/// of those names. The new path.
Result<QString> setAside(const QString &path);

/// The names of the files that setAside() has left beside `path`, the oldest first.
QStringList filesAside(const QString &path);
/// A sentence about them and what to do with them; empty when there are none.
QString asideSentence(const QString &path);

/// The content of a regular file of at most `maximum` bytes; an error names the file and the cause.
Result<QByteArray> readBounded(const QString &path, qint64 maximum);

} // namespace cobblet
