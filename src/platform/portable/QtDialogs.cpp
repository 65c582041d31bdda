#include "platform/portable/QtDialogs.h"

#include <QColorDialog>
#include <QFileDialog>
#include <QFileInfo>
#include <QGuiApplication>
#include <QMessageBox>
#include <QPushButton>
#include <QTextDocument>
#include <QWindow>

#include <algorithm>

namespace cobblet {

namespace {

/// The visible window that a dialog belongs to; null when none is open.
QWindow *owner()
{
    if (QWindow *focused = QGuiApplication::focusWindow();
        focused && focused->isVisible() && focused->type() != Qt::Popup)
        return focused;
    for (QWindow *window : QGuiApplication::topLevelWindows())
        if (window->isVisible() && window->type() != Qt::Popup && window->type() != Qt::ToolTip)
            return window;
    return nullptr;
}

/// Shows the dialog without waiting for it; it deletes itself. A panel floats above ordinary windows, so its
/// dialogs have to as well.
void present(QDialog *dialog, Qt::WindowModality modality = Qt::ApplicationModal)
{
    QWindow *parent = owner();
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setWindowModality(modality);
    if (parent && parent->flags().testFlag(Qt::WindowStaysOnTopHint))
        dialog->setWindowFlag(Qt::WindowStaysOnTopHint);
    dialog->winId(); // makes the native window, which has to know its parent before it is shown
    dialog->windowHandle()->setTransientParent(parent);
    dialog->show();
    dialog->raise();
    dialog->activateWindow();
}

/// Of the toolkit's own, because the desktops' panels let nobody choose files and folders at once. A package is
/// chosen where another folder would be entered.
class PackageDialog : public QFileDialog {
public:
    PackageDialog(const QString &title, const QString &folder, const QString &package)
        : QFileDialog(nullptr, title, folder), m_suffix(u'.' + package)
    {
        setOption(DontUseNativeDialog);
        connect(this, &QFileDialog::directoryEntered, this, [this](const QString &path) {
            if (path.endsWith(m_suffix))
                take({path});
        });
    }

    QStringList chosen() const { return m_packages.isEmpty() ? selectedFiles() : m_packages; }

protected:
    void accept() override
    {
        const QStringList files = selectedFiles();
        const bool packages = !files.isEmpty() && std::ranges::all_of(files, [this](const QString &path) {
            return path.endsWith(m_suffix) && QFileInfo(path).isDir();
        });
        if (packages)
            take(files);
        else
            QFileDialog::accept();
    }

private:
    void take(const QStringList &packages)
    {
        m_packages = packages;
        done(Accepted);
    }

    const QString m_suffix;
    QStringList m_packages;
};

void choose(const FileRequest &request, QFileDialog::AcceptMode mode, QFileDialog::FileMode files,
            std::function<void(const QStringList &)> answer)
{
    auto *packages =
        request.package.isEmpty() ? nullptr : new PackageDialog(request.title, request.folder, request.package);
    QFileDialog *dialog = packages ? packages : new QFileDialog(nullptr, request.title, request.folder);
    dialog->setAcceptMode(mode);
    dialog->setFileMode(files);
    dialog->setDefaultSuffix(request.suffix);
    dialog->setLabelText(QFileDialog::Accept, request.acceptLabel);
    if (!request.filters.isEmpty())
        dialog->setNameFilters(request.filters);
    if (!request.name.isEmpty())
        dialog->selectFile(request.name);
    QObject::connect(dialog, &QDialog::finished, dialog, [dialog, packages, answer = std::move(answer)](int result) {
        const QStringList chosen = packages ? packages->chosen() : dialog->selectedFiles();
        answer(result == QDialog::Accepted ? chosen : QStringList());
    });
    present(dialog);
}

} // namespace

void QtDialogs::ask(const Alert &alert, std::function<void(std::optional<int>)> answer)
{
    auto *box = new QMessageBox(alert.warning ? QMessageBox::Warning : QMessageBox::Information, {}, alert.message);
    box->setTextFormat(Qt::PlainText); // group names are in these texts
    // Has no format of its own: as a document it is never mistaken for one.
    box->setInformativeText(Qt::convertFromPlainText(alert.informativeText, Qt::WhiteSpaceNormal));
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

void QtDialogs::chooseColor(const QString &title, const QColor &current,
                            std::function<void(const std::optional<QColor> &)> tried)
{
    auto *dialog = new QColorDialog(current);
    dialog->setWindowTitle(title);
    // Of the toolkit's own on every desktop: the portals' tell a colour only once it is taken.
    dialog->setOption(QColorDialog::DontUseNativeDialog);
    QObject::connect(dialog, &QColorDialog::currentColorChanged, dialog, tried);
    QObject::connect(dialog, &QDialog::rejected, dialog, [tried] { tried(std::nullopt); });
    present(dialog, Qt::WindowModal);
}

void QtDialogs::saveFile(const FileRequest &request, std::function<void(const std::optional<QString> &)> answer)
{
    choose(request, QFileDialog::AcceptSave, QFileDialog::AnyFile,
           [answer = std::move(answer)](const QStringList &paths) {
               answer(paths.isEmpty() ? std::nullopt : std::optional(paths.first()));
           });
}

} // namespace cobblet
