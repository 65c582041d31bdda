#include "platform/FileTree.h"

#include <QFile>

#include <chrono>
#include <cstring>
#include <filesystem>

#include <fcntl.h>
#include <sys/stat.h>

namespace cobblet {

namespace {

namespace fs = std::filesystem;

fs::path native(const QString &path)
{
    return QFile::encodeName(path).toStdString();
}

QString text(const fs::path &path)
{
    return QFile::decodeName(QByteArray::fromStdString(path.native()));
}

Error failure(const QString &what, const fs::path &path, const std::error_code &cause)
{
    return {QStringLiteral("“%1” can't be %2: %3.")
                .arg(text(path), what, QString::fromLocal8Bit(std::strerror(cause.value())))};
}

Status replicate(const QString &from, const QString &to, bool links)
{
    const fs::path source = native(from), target = native(to);
    std::error_code cause;
    if (fs::symlink_status(target, cause).type() != fs::file_type::not_found)
        return failure(QStringLiteral("written"), target, std::make_error_code(std::errc::file_exists));
    if (!fs::is_directory(fs::symlink_status(source, cause)))
        return failure(QStringLiteral("read"), source, std::make_error_code(std::errc::no_such_file_or_directory));
    if (!fs::create_directory(target, source, cause))
        return failure(QStringLiteral("made"), target, cause);
    for (fs::recursive_directory_iterator it(source, cause), end; !cause && it != end; it.increment(cause)) {
        const fs::path copy = target / it->path().lexically_relative(source);
        const fs::file_status status = it->symlink_status(cause);
        if (cause)
            break;
        if (fs::is_symlink(status))
            fs::copy_symlink(it->path(), copy, cause);
        else if (fs::is_directory(status))
            fs::create_directory(copy, it->path(), cause);
        else if (!fs::is_regular_file(status))
            return Error{
                QStringLiteral("“%1” can't be copied: it is no file, folder or link.").arg(text(it->path()))};
        else if (links)
            fs::create_hard_link(it->path(), copy, cause);
        else if (fs::copy_file(it->path(), copy, cause))
            fs::last_write_time(copy, it->last_write_time(cause), cause); // a later comparison finds them alike
        if (cause)
            return failure(QStringLiteral("copied"), it->path(), cause);
    }
    if (cause)
        return failure(QStringLiteral("read"), source, cause);
    return {};
}

} // namespace

Status copyTree(const QString &from, const QString &to)
{
    return replicate(from, to, false);
}

Status linkTree(const QString &from, const QString &to)
{
    return replicate(from, to, true);
}

Status removeTree(const QString &path)
{
    std::error_code cause;
    fs::remove_all(native(path), cause);
    if (cause)
        return failure(QStringLiteral("removed"), native(path), cause);
    return {};
}

Status moveTree(const QString &from, const QString &to)
{
    std::error_code cause;
    if (fs::symlink_status(native(to), cause).type() != fs::file_type::not_found)
        return failure(QStringLiteral("written"), native(to), std::make_error_code(std::errc::file_exists));
    fs::rename(native(from), native(to), cause);
    if (cause)
        return failure(QStringLiteral("written"), native(to), cause);
    return {};
}

void forEachInTree(const QString &path, const std::function<void(const QString &)> &visit)
{
    visit(path);
    std::error_code cause;
    for (fs::recursive_directory_iterator it(native(path), cause), end; !cause && it != end; it.increment(cause))
        visit(text(it->path()));
}

void outdate(const QString &older, const QString &newer)
{
    using namespace std::chrono_literals;
    const fs::path root = native(newer);
    std::error_code cause;
    for (fs::recursive_directory_iterator it(root, cause), end; !cause && it != end; it.increment(cause)) {
        const fs::path counterpart = native(older) / it->path().lexically_relative(root);
        std::error_code unknown;
        if (!fs::is_regular_file(it->symlink_status(unknown)) ||
            !fs::is_regular_file(fs::symlink_status(counterpart, unknown)))
            continue;
        const auto before = fs::last_write_time(counterpart, unknown), now = it->last_write_time(unknown);
        if (!unknown && before != now && std::chrono::abs(now - before) < 1s)
            fs::last_write_time(it->path(), before + 1s, unknown);
    }
}

void touch(const QString &path)
{
    ::utimensat(AT_FDCWD, native(path).c_str(), nullptr, 0);
}

} // namespace cobblet
