#include "ui/settings/SidebarRows.h"

#include "ui/common/DisplayText.h"
#include "ui/settings/SettingsCatalogue.h"

namespace cobblet {

using namespace Qt::StringLiterals;

QVariantList pageRows()
{
    QVariantList rows;
    for (const SettingsPageEntry &page : settingsPages())
        rows.append(QVariantMap{{u"title"_s, page.title}, {u"symbol"_s, page.symbol}});
    return rows;
}

QVariantList suggestionRows(const QList<SuggestedGroup> &suggestions)
{
    QVariantList rows;
    for (const SuggestedGroup &suggestion : suggestions) {
        QStringList names;
        for (const AppItem &app : suggestion.apps)
            names.append(displayText(app.name));
        rows.append(QVariantMap{{u"name"_s, displayText(suggestion.name)},
                                {u"emoji"_s, displayText(suggestion.emoji)},
                                {u"number"_s, names.size() == 1 ? u"1 app"_s : u"%1 apps"_s.arg(names.size())},
                                {u"names"_s, names.join(u" · "_s)},
                                {u"reason"_s, suggestion.reason}});
    }
    return rows;
}

QVariantList hitRows(const QList<SearchHit> &hits)
{
    QVariantList rows;
    for (const SearchHit &hit : hits)
        rows.append(QVariantMap{
            {u"title"_s, hit.title}, {u"place"_s, hit.place}, {u"emoji"_s, hit.emoji}, {u"symbol"_s, hit.symbol}});
    return rows;
}

} // namespace cobblet
