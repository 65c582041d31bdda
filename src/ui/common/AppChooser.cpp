#include "ui/common/AppChooser.h"

#include "platform/Workspace.h"
#include "ui/common/DisplayText.h"

#include <QCollator>
#include <QPointer>

namespace cobblet {

AppChooser::AppChooser(Workspace &workspace, std::function<void(const QList<AppItem> &)> add,
                       std::function<void()> other, QObject *parent)
    : ListRows(parent), m_add(std::move(add)), m_other(std::move(other))
{
    workspace.listApplications([self = QPointer(this)](const QList<InstalledApplication> &applications) {
        if (!self)
            return;
        for (const InstalledApplication &application : applications)
            self->m_all.append({application.name, application.bundleID});
        QCollator order;
        order.setCaseSensitivity(Qt::CaseInsensitive);
        std::ranges::sort(self->m_all, [&order](const AppItem &a, const AppItem &b) {
            const int names = order.compare(a.name, b.name);
            return names != 0 ? names < 0 : a.bundleID < b.bundleID;
        });
        self->m_isReady = true;
        self->filter();
        emit self->ready();
    });
}

void AppChooser::setSearch(const QString &search)
{
    if (m_search == search)
        return;
    m_search = search;
    filter();
    emit searchChanged();
}

void AppChooser::filter()
{
    const QStringList words = m_search.split(u' ', Qt::SkipEmptyParts);
    QList<AppItem> found;
    for (const AppItem &app : m_all)
        if (std::ranges::all_of(words, [&app](const QString &word) {
                return app.name.contains(word, Qt::CaseInsensitive) ||
                       app.bundleID.contains(word, Qt::CaseInsensitive);
            }))
            found.append(app);
    setRows(std::move(found));
}

void AppChooser::toggle(int number)
{
    const AppItem *app = row(number);
    if (!app)
        return;
    if (!m_chosen.remove(app->bundleID)) {
        if (isSingle())
            m_chosen.clear();
        m_chosen.insert(app->bundleID);
    }
    allRowsChanged({ChosenRole});
    emit chosenChanged();
}

bool AppChooser::add(int number)
{
    QList<AppItem> apps;
    for (const AppItem &app : m_all)
        if (m_chosen.contains(app.bundleID))
            apps.append(app);
    if (const AppItem *app = row(number); app && apps.isEmpty())
        apps.append(*app);
    if (!apps.isEmpty())
        m_add(apps);
    return !apps.isEmpty();
}

QVariant AppChooser::data(const QModelIndex &index, int role) const
{
    if (!isRow(index))
        return {};
    const AppItem &app = rows()[index.row()];
    switch (role) {
    case NameRole:
        return displayText(app.name);
    case BundleIDRole:
        return app.bundleID;
    case ChosenRole:
        return m_chosen.contains(app.bundleID);
    default:
        return {};
    }
}

QHash<int, QByteArray> AppChooser::roleNames() const
{
    return {{NameRole, "name"}, {BundleIDRole, "bundleID"}, {ChosenRole, "isChosen"}};
}

} // namespace cobblet
