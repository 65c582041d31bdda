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

QMessageBox *messageBox(QMessageBox::Icon icon, const QString &message, const QString &informativeText)
{
    auto *box = new QMessageBox(icon, QString(), message);
    box->setTextFormat(Qt::PlainText); // group names are in these texts
    box->setInformativeText(informativeText.toHtmlEscaped());
    return box;
}

} // namespace

void QtDialogs::confirm(const Confirmation &question, std::function<void(bool)> answer)
{
    QMessageBox *box = messageBox(QMessageBox::Warning, question.message, question.informativeText);
    QPushButton *accept = box->addButton(question.acceptLabel, question.destructive ? QMessageBox::DestructiveRole
                                                                                    : QMessageBox::AcceptRole);
    QPushButton *cancel = box->addButton(question.cancelLabel, QMessageBox::RejectRole);
    box->setDefaultButton(question.destructive ? cancel : accept);
    box->setEscapeButton(cancel);
    QObject::connect(box, &QDialog::finished, box, [box, accept, answer = std::move(answer)] {
        if (answer)
            answer(box->clickedButton() == accept);
    });
    present(box);
}

void QtDialogs::chooseFiles(const FileRequest &request, std::function<void(const QStringList &)> answer)
{
    auto *dialog = new QFileDialog(nullptr, request.title, request.folder);
    dialog->setAcceptMode(QFileDialog::AcceptOpen);
    dialog->setFileMode(request.multiple ? QFileDialog::ExistingFiles : QFileDialog::ExistingFile);
    dialog->setLabelText(QFileDialog::Accept, request.acceptLabel);
    if (!request.filters.isEmpty())
        dialog->setNameFilters(request.filters);
    QObject::connect(dialog, &QDialog::finished, dialog, [dialog, answer = std::move(answer)](int result) {
        if (answer)
            answer(result == QDialog::Accepted ? dialog->selectedFiles() : QStringList());
    });
    present(dialog);
}

void QtDialogs::warn(const QString &message, const QString &informativeText, const QString &otherLabel,
                     std::function<void(bool)> answer)
{
    QMessageBox *box = messageBox(QMessageBox::Warning, message, informativeText);
    QPushButton *ok = box->addButton(QMessageBox::Ok);
    QPushButton *other = box->addButton(otherLabel, QMessageBox::ActionRole);
    box->setDefaultButton(ok);
    box->setEscapeButton(ok);
    QObject::connect(box, &QDialog::finished, box, [box, other, answer = std::move(answer)] {
        if (answer)
            answer(box->clickedButton() == other);
    });
    present(box);
}

void QtDialogs::inform(const QString &message, const QString &informativeText)
{
    QMessageBox *box = messageBox(QMessageBox::Information, message, informativeText);
    box->addButton(QMessageBox::Ok);
    present(box);
}

} // namespace cobblet
