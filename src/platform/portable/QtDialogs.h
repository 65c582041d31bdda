#pragma once

#include "platform/Dialogs.h"

namespace cobblet {

/// The toolkit's alerts and file panels, each made when it is asked for and above the window that had the
/// focus then. Needs a QApplication.
class QtDialogs : public Dialogs {
public:
    Availability availability() const override { return Availability::works(); }
    void ask(const Alert &alert, std::function<void(std::optional<int>)> answer) override;
    void chooseFiles(const FileRequest &request, std::function<void(const QStringList &)> answer) override;
    void chooseColor(const QString &title, const QColor &current,
                     std::function<void(const std::optional<QColor> &)> tried) override;
    void saveFile(const FileRequest &request, std::function<void(const std::optional<QString> &)> answer) override;
};

} // namespace cobblet
