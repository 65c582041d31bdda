#pragma once

#include <QString>

#include <filesystem>
#include <memory>
#include <optional>

namespace cobblet {

/// Remembers one state of a file, so that its reader can tell without reading it again whether it is still
/// that one. The file is kept open for the life of the stamp: a replacement can then not be given the same
/// inode, which makes the answer certain for files that are replaced as a whole.
class FileStamp {
public:
    /// The file as it is now; also "there is none" is a state.
    explicit FileStamp(const QString &path);

    /// Whether the path still leads to the same file with the same content.
    bool isCurrent() const { return look() == m_state; }
    /// In bytes; 0 when there is no file.
    qint64 size() const { return m_state ? m_state->size : 0; }

private:
    struct State {
        quint64 device = 0;
        quint64 inode = 0;
        qint64 size = 0;
        std::filesystem::file_time_type modified;

        bool operator==(const State &) const = default;
    };
    /// By the open file, or by the path when there is none.
    std::optional<State> look(int descriptor = -1) const;

    QString m_path;
    std::shared_ptr<const int> m_descriptor; ///< null when it can't be opened
    std::optional<State> m_state;
};

} // namespace cobblet
