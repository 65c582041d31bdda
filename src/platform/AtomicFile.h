#pragma once

#include "platform/Result.h"

#include <QByteArray>
#include <QString>

namespace cobblet {

/// Writes `bytes` to a temporary file beside `path`, flushes it to disk and renames it over `path`, so that
/// a reader, and a process killed at any moment, find the old or the new content. Missing folders are made.
/// Writers of one path must hold the same FileLock: the temporary name is fixed, so that a killed writer
/// leaves nothing that piles up.
Status writeAtomically(const QString &path, const QByteArray &bytes);

/// The content of a regular file of at most `maximum` bytes; an error names the file and the cause.
Result<QByteArray> readBounded(const QString &path, qint64 maximum);

} // namespace cobblet
