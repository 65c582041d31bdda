#pragma once

#include <QList>
#include <QString>
#include <QStringList>
#include <QUuid>

namespace cobblet {

/// Emoji that the picker offers under one heading.
struct EmojiCategory {
    QUuid id; ///< made when the catalogue is
    QString name;
    QStringList items; ///< one emoji each
};

/// What the picker offers before anything is typed; the same list for the life of the process.
const QList<EmojiCategory> &emojiCatalogue();

} // namespace cobblet
