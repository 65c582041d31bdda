#pragma once

#include "control/GroupSuggestionService.h"
#include "ui/settings/SettingsSearch.h"

#include <QVariantList>

namespace cobblet {

// What the sidebar's rows show, as QML reads it: a map of texts for each row.

/// Of each page below the groups: title and symbol.
QVariantList pageRows();
/// Of each suggested group: name, emoji, number ("3 apps"), names and reason.
QVariantList suggestionRows(const QList<SuggestedGroup> &suggestions);
/// Of each hit of the search: title, place, emoji and symbol.
QVariantList hitRows(const QList<SearchHit> &hits);

} // namespace cobblet
