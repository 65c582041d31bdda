#pragma once

#include <QString>

#include <optional>

struct stat;

namespace cobblet {

/// Remembers one state of a file, so that its reader can tell without reading it again whether it is still
/// that one. The file is kept open for the life of the stamp: a replacement can then not be given the same
/// inode, which makes the answer certain for files that are replaced as a whole.
class FileStamp {
public:
    /// The file as it is now; also "there is none" is a state.
    explicit FileStamp(const QString &path);
    ~FileStamp();
    FileStamp(FileStamp &&other) noexcept;
    FileStamp &operator=(FileStamp &&other) noexcept;

    /// Whether the path still leads to the same file with the same content.
    bool isCurrent() const;
    bool exists() const { return m_state.has_value(); }
    /// In bytes; 0 when there is no file.
    qint64 size() const { return m_state ? m_state->size : 0; }

private:
    struct State {
        quint64 device = 0;
        quint64 inode = 0;
        qint64 size = 0;
        qint64 modified[2] = {}; ///< seconds, nanoseconds
        qint64 changed[2] = {};

        bool operator==(const State &) const = default;
    };
    static State state(const struct stat &status);

    QString m_path;
    int m_descriptor = -1;
    std::optional<State> m_state;
};

} // namespace cobblet
