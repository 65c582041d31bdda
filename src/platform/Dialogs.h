#pragma once

#include <QString>
#include <QStringList>

#include <functional>

namespace cobblet {

/// A question with two answers.
struct Confirmation {
    QString message;
    QString informativeText;
    QString acceptLabel;
    QString cancelLabel;
    bool destructive = false; ///< accepting destroys something: cancel is the default button then
};

/// What a file chooser is asked for.
struct FileRequest {
    QString title;
    QString acceptLabel;
    QString folder;      ///< where it starts
    QStringList filters; ///< name filters such as "Applications (*.desktop *.app)"
    bool multiple = false;
};

/// Alerts and file panels. They are modal to the application, yet the calls return at once; the answer comes
/// later on the main thread.
class Dialogs {
public:
    virtual ~Dialogs() = default;

    virtual void confirm(const Confirmation &question, std::function<void(bool accepted)> answer) = 0;
    /// An empty list when the user cancels.
    virtual void chooseFiles(const FileRequest &request, std::function<void(const QStringList &paths)> answer) = 0;
    /// A warning with the button "OK" and another one; `answer` learns whether it was the other.
    virtual void warn(const QString &message, const QString &informativeText, const QString &otherLabel,
                      std::function<void(bool other)> answer) = 0;
    /// A note with one button.
    virtual void inform(const QString &message, const QString &informativeText) = 0;
};

} // namespace cobblet
