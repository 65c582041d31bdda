#pragma once

#include "model/AppGroup.h"
#include "ui/common/ListRows.h"

#include <QSet>

#include <QtQml/qqmlregistration.h>

#include <functional>

namespace cobblet {

class Workspace;

/// The installed applications by name, to search and to choose from. They are read in the background: the list is
/// empty until isReady().
class AppChooser : public ListRows<AppItem> {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The model of a view makes them.")
    Q_PROPERTY(QString search MEMBER m_search WRITE setSearch NOTIFY searchChanged)
    Q_PROPERTY(bool isReady READ isReady NOTIFY ready)
    Q_PROPERTY(bool isSingle READ isSingle CONSTANT)
    Q_PROPERTY(int chosenCount READ chosenCount NOTIFY chosenChanged)
public:
    enum Role { NameRole = Qt::UserRole, BundleIDRole, ChosenRole };

    /// `add` is called with what is added, `other` when files are to be chosen instead. Where `other` is empty, one
    /// application is chosen, and no file.
    AppChooser(Workspace &workspace, std::function<void(const QList<AppItem> &)> add, std::function<void()> other,
               QObject *parent = nullptr);

    /// Shows the applications with all of these words in their names or identifiers.
    void setSearch(const QString &search);
    bool isReady() const { return m_isReady; }
    /// One application is to be chosen.
    bool isSingle() const { return !m_other; }
    /// Of those in the list and of those that the search hides.
    int chosenCount() const { return int(m_chosen.size()); }

    Q_INVOKABLE void toggle(int row);
    /// Adds what is chosen, or the one in this row when nothing is. False when there is nothing to add.
    Q_INVOKABLE bool add(int row);
    /// Leaves it to the file chooser.
    Q_INVOKABLE void chooseFiles() { m_other(); }

    QVariant data(const QModelIndex &index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

signals:
    void searchChanged();
    void ready();
    void chosenChanged();

private:
    void filter();

    const std::function<void(const QList<AppItem> &)> m_add;
    const std::function<void()> m_other;
    QList<AppItem> m_all; ///< sorted
    QSet<QString> m_chosen;
    QString m_search;
    bool m_isReady = false;
};

} // namespace cobblet
