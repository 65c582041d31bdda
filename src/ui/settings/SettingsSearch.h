#pragma once

#include "model/AppGroup.h"
#include "ui/settings/SettingsSidebarItem.h"

#include <QList>
#include <QString>

namespace cobblet {

/// What a search in the settings finds: a group, a page, or a setting on a page.
struct SearchHit {
    SettingsSidebarItem item;
    QString setting = {}; ///< its id in the catalogue; empty for groups and pages
    QString title = {};
    QString place = {};  ///< under the title: the page of a setting, what an application's name led to; may be empty
    QString emoji = {};  ///< of a group
    QString symbol = {}; ///< of anything else

    bool operator==(const SearchHit &) const = default;
};

/// What can be found, made ready once for all the keys of a search.
class SearchIndex {
public:
    /// With the pages and settings of the catalogue.
    explicit SearchIndex(const QList<AppGroup> &groups);

    /// What has all words of the query, the best first: a word of the title counts more than one of the help, of an
    /// application's name or of the page; the beginning of a word more than its middle. At most `most`; none for a
    /// blank query.
    QList<SearchHit> find(const QString &query, qsizetype most = 50) const;

private:
    struct Entry {
        SearchHit hit;
        QString title;           ///< folded
        QString more;            ///< folded, line by line
        QStringList moreAsShown; ///< the lines of `more` that can be shown as the place
    };
    void add(const SearchHit &hit, const QStringList &more, bool showsMore = false);

    QList<Entry> m_entries;
};

} // namespace cobblet
