#pragma once

#include "platform/Availability.h"

#include <QColor>
#include <QString>
#include <QStringList>

#include <functional>
#include <optional>

namespace cobblet {

/// A question, a warning or a note.
struct Alert {
    struct Button {
        QString label = {};
        bool destructive = false; ///< pressing it destroys something
    };

    QString message = {};
    QString informativeText = {};         ///< may be empty
    QString details = {};                 ///< shown when asked for; empty offers none
    QList<Button> buttons = {};           ///< at least one; the first comes first
    int defaultButton = 0;                ///< what Return presses
    std::optional<int> cancelButton = {}; ///< what Escape presses, and closing the alert
    bool warning = false;                 ///< something is wrong, or may be lost
};

/// What a file panel is asked for.
struct FileRequest {
    QString title = {};
    QString acceptLabel = {};
    QString folder = {};      ///< where it starts
    QStringList filters = {}; ///< name filters such as "Applications (*.desktop *.app)"
    bool multiple = false;    ///< several files may be chosen; not for saving
    QString package = {};     ///< folders with this suffix ("app") are chosen as files are; not for saving
    QString name = {};        ///< for saving: the file name that is proposed
    QString suffix = {};      ///< for saving: appended to a name without one, such as "json"
};

/// Alerts and file panels. They are modal to the application, yet the calls return at once; the answer comes
/// later on the main thread.
class Dialogs {
public:
    virtual ~Dialogs() = default;

    virtual Availability availability() const = 0;

    /// The answer is the index of the button pressed, absent when the alert was cancelled in any way.
    virtual void ask(const Alert &alert, std::function<void(std::optional<int> button)> answer = {}) = 0;
    /// An empty list when the user cancels.
    virtual void chooseFiles(const FileRequest &request, std::function<void(const QStringList &paths)> answer) = 0;
    /// `tried` is called with every colour that the user tries, the one that stays last, and with none when the user
    /// cancels. For the window that has the focus.
    virtual void chooseColor(const QString &title, const QColor &current,
                             std::function<void(const std::optional<QColor> &color)> tried) = 0;
    /// Asks where to write a file, and before an existing one is replaced. Absent when the user cancels.
    virtual void saveFile(const FileRequest &request,
                          std::function<void(const std::optional<QString> &path)> answer) = 0;
};

} // namespace cobblet
