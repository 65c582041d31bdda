#pragma once

#include "platform/Dialogs.h"
#include "platform/DockTile.h"
#include "platform/Menus.h"
#include "platform/Pasteboard.h"
#include "platform/StatusItem.h"
#include "support/FakeDesktop.h"

#include <QWindow>

/// What the application puts on the fake desktop beside its panel: alerts, menus, the item in the tray, the Dock
/// tile, text to paste.
namespace cobblet::test {

/// Answers alerts with `button` unless `waits` is set, file panels with `files`, at once.
class FakeDialogs : public Fake<Dialogs> {
public:
    void ask(const Alert &alert, std::function<void(std::optional<int>)> answer) override
    {
        alerts.append(alert);
        if (waits)
            pending = std::move(answer);
        else if (answer)
            answer(button);
    }
    void chooseFiles(const FileRequest &request, std::function<void(const QStringList &)> answer) override
    {
        requests.append(request);
        answer(files);
    }
    void chooseColor(const QString &, const QColor &,
                     std::function<void(const std::optional<QColor> &)> tried) override
    {
        this->tried = std::move(tried);
    }
    void saveFile(const FileRequest &, std::function<void(const std::optional<QString> &)>) override {}

    std::optional<int> button;
    bool waits = false;
    std::function<void(std::optional<int>)> pending;          ///< the answer to the last alert, while it waits
    std::function<void(const std::optional<QColor> &)> tried; ///< of the last color dialog
    QStringList files;
    QList<Alert> alerts;
    QList<FileRequest> requests;
};

class FakePasteboard : public Fake<Pasteboard> {
public:
    void setText(const QString &value) override { text = value; }

    QString text;
};

class FakeMenus : public Fake<Menus> {
public:
    void popUp(const QList<MenuItem> &items, QWindow *, const QPointF &) override { last = items; }

    QList<MenuItem> last;
};

class FakeStatusItem : public Fake<StatusItem> {
public:
    void setImage(Template value, const QString &) override { image = std::move(value); }
    void setMenu(const QList<MenuItem> &items) override { menu = items; }
    void show() override {}

    Template image;
    QList<MenuItem> menu;
};

class FakeDockTile : public Fake<DockTile> {
public:
    void setIcon(const QImage &image) override
    {
        icon = image;
        ++icons;
    }
    void activateApplication() override { ++activations; }
    void bringForward(QWindow &window) override { window.show(); }
    void setMenu(std::function<QList<DockMenuItem>()> items, std::function<bool(const QString &)> chosen) override
    {
        menu = std::move(items);
        choose = std::move(chosen);
    }

    QImage icon;
    int icons = 0; ///< that were set
    std::function<QList<DockMenuItem>()> menu;
    std::function<bool(const QString &)> choose;
    int activations = 0;
};

} // namespace cobblet::test
