#pragma once

#include "platform/Dialogs.h"

class QDialog;

namespace cobblet {

/// The toolkit's alerts and file panels, each made when it is asked for and above the window that had the
/// focus then. Needs a QApplication.
class QtDialogs : public Dialogs {
public:
    void confirm(const Confirmation &question, std::function<void(bool)> answer) override;
    void chooseFiles(const FileRequest &request, std::function<void(const QStringList &)> answer) override;
    void warn(const QString &message, const QString &informativeText, const QString &otherLabel,
              std::function<void(bool)> answer) override;
    void inform(const QString &message, const QString &informativeText) override;
};

} // namespace cobblet
