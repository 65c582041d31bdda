#pragma once

#include "platform/StatusItem.h"

#include <QObject>

#include <memory>

class QMenu;
class QSystemTrayIcon;

namespace cobblet {

class Appearance;
class QtMenus;

/// The toolkit's own item. Its picture has an outline, so that it is read on light and dark bars. Needs a
/// QApplication.
class QtStatusItem : public QObject, public StatusItem {
    Q_OBJECT
public:
    /// All arguments outlive the item. A bar that draws named icons itself, in its own colours, is given
    /// `iconName`; may be empty.
    QtStatusItem(QtMenus &menus, const Appearance &appearance, const QString &iconName);
    ~QtStatusItem() override;

    void setImage(Template image, const QString &accessibilityDescription) override;
    void setMenu(const QList<MenuItem> &items) override;
    Availability availability() const override { return Availability::works(); }
    void show() override;

protected:
    /// Puts the item into a bar that shows the menu itself, or into one that leaves it to the program, which then
    /// opens it on both buttons.
    void show(bool barShowsMenu);

private:
    QIcon icon() const;

    QtMenus &m_menus;
    const Appearance &m_appearance;
    const QString m_iconName;
    Template m_image;
    QString m_description;
    QList<MenuItem> m_items;
    std::unique_ptr<QMenu> m_menu; ///< the one that the bar shows, if it does
    std::unique_ptr<QSystemTrayIcon> m_tray;
};

} // namespace cobblet
