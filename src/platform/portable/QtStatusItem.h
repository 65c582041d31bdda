#pragma once

#include "platform/StatusItem.h"

#include <QObject>

#include <memory>

class QMenu;
class QSystemTrayIcon;

namespace cobblet {

class Appearance;
class QtMenus;

/// The toolkit's own item. Needs a QApplication.
class QtStatusItem : public QObject, public StatusItem {
    Q_OBJECT
public:
    /// All arguments outlive the item. A bar that draws named icons itself, in its own colours, is given
    /// `iconName`; may be empty.
    QtStatusItem(QtMenus &menus, const Appearance &appearance, const QString &iconName);
    ~QtStatusItem() override;

    void setImage(Template image, const QString &accessibilityDescription) override;
    void setMenu(const QList<MenuItem> &items) override;
    void show() override;

    /// Takes the item out of the bar; show() puts it back.
    void hide();
    /// Opens the menu beside a rectangle of the screen (points).
    void openMenu(const QRect &anchor);

    const Template &image() const { return m_image; }
    const QString &accessibilityDescription() const { return m_description; }

private:
    QIcon icon() const;
    void follow();

    QtMenus &m_menus;
    const Appearance &m_appearance;
    const QString m_iconName;
    Template m_image;
    QString m_description;
    QList<MenuItem> m_items;
    std::unique_ptr<QMenu> m_menu; ///< the one that the bar shows
    std::unique_ptr<QSystemTrayIcon> m_tray;
};

} // namespace cobblet
