#include "platform/portable/QtDialogs.h"

#include <QFileDialog>
#include <QGuiApplication>
#include <QMessageBox>
#include <QPushButton>
#include <QWindow>

namespace cobblet {

namespace {

/// The visible window that a dialog belongs to; null when none is open.
QWindow *owner()
{
    if (QWindow *focused = QGuiApplication::focusWindow(); focused && focused->type() != Qt::Popup)
        return focused;
    for (QWindow *window : QGuiApplication::topLevelWindows())
        if (window->isVisible() && window->type() != Qt::Popup && window->type() != Qt::ToolTip)
            return window;
    return nullptr;
}

/// Shows the dialog without waiting for it; it deletes itself. A panel floats above ordinary windows, so its
/// dialogs have to as well.
void present(QDialog *dialog)
{
    QWindow *parent = owner();
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setWindowModality(Qt::ApplicationModal);
    if (parent && parent->flags().testFlag(Qt::WindowStaysOnTopHint))
        dialog->setWindowFlag(Qt::WindowStaysOnTopHint);
    dialog->winId(); // makes the native window, which has to know its parent before it is shown
    dialog->windowHandle()->setTransientParent(parent);
    dialog->show();
    dialog->raise();
    dialog->activateWindow();
}

void choose(const FileRequest &request, QFileDialog::AcceptMode mode, QFileDialog::FileMode files,
            std::function<void(const QStringList &)> answer)
{
    auto *dialog = new QFileDialog(nullptr, request.title, request.folder);
    dialog->setAcceptMode(mode);
    dialog->setFileMode(files);
    dialog->setDefaultSuffix(request.suffix);
    dialog->setLabelText(QFileDialog::Accept, request.acceptLabel);
    if (!request.filters.isEmpty())
        dialog->setNameFilters(request.filters);
    if (!request.name.isEmpty())
        dialog->selectFile(request.name);
    QObject::connect(dialog, &QDialog::finished, dialog, [dialog, answer = std::move(answer)](int result) {
        answer(result == QDialog::Accepted ? dialog->selectedFiles() : QStringList());
    });
    present(dialog);
}

} // namespace

void QtDialogs::ask(const Alert &alert, std::function<void(std::optional<int>)> answer)
{
    auto *box = new QMessageBox(alert.warning ? QMessageBox::Warning : QMessageBox::Information, {}, alert.message);
    box->setTextFormat(Qt::PlainText); // group names are in these texts
    box->setInformativeText(alert.informativeText.toHtmlEscaped());
    box->setDetailedText(alert.details);
    QList<QAbstractButton *> buttons;
    for (int i = 0; i < alert.buttons.size(); ++i) {
        const bool destructive = alert.buttons[i].destructive;
        const auto role = alert.cancelButton == i ? QMessageBox::RejectRole
                          : destructive           ? QMessageBox::DestructiveRole
                                                  : QMessageBox::AcceptRole;
        QPushButton *button = box->addButton(alert.buttons[i].label, role);
        if (alert.defaultButton == i)
            box->setDefaultButton(button);
        if (alert.cancelButton == i)
            box->setEscapeButton(button);
        buttons.append(button);
    }
    QObject::connect(box, &QDialog::finished, box,
                     [box, buttons, cancel = alert.cancelButton, answer = std::move(answer)] {
                         const int pressed = int(buttons.indexOf(box->clickedButton()));
                         if (answer)
                             answer(pressed < 0 || cancel == pressed ? std::nullopt : std::optional(pressed));
                     });
    present(box);
}

void QtDialogs::chooseFiles(const FileRequest &request, std::function<void(const QStringList &)> answer)
{
    choose(request, QFileDialog::AcceptOpen,
           request.multiple ? QFileDialog::ExistingFiles : QFileDialog::ExistingFile, std::move(answer));
}

void QtDialogs::saveFile(const FileRequest &request, std::function<void(const std::optional<QString> &)> answer)
{
    choose(request, QFileDialog::AcceptSave, QFileDialog::AnyFile,
           [answer = std::move(answer)](const QStringList &paths) {
               answer(paths.isEmpty() ? std::nullopt : std::optional(paths.first()));
           });
}

} // namespace cobblet
