#pragma once

#include "ui/common/EmojiTable.h"

#include <QHash>
#include <QStringList>

#include <functional>
#include <optional>

namespace cobblet {

/// Finds emoji by their names and keywords, in the person's language and in English. Without its tables it finds
/// nothing, and emoji have no names. Main thread only.
class EmojiSearch {
public:
    using CanDraw = std::function<bool(const QString &emoji)>;

    /// Reads the tables from the folder: English, and that of the first of the languages ("de-AT") that has one.
    /// `canDraw` is asked once for an emoji, when it is found.
    EmojiSearch(const QString &folder, const QStringList &languages, CanDraw canDraw);

    /// The emoji that every word of the text fits, best first: those of which it is the name, then by how well each
    /// word fits. A text that is one emoji finds that one. Nothing for a text without words.
    QStringList find(const QString &text);
    /// The emoji that the text is, without space around it; absent for anything else, and for what can't be drawn.
    std::optional<QString> single(const QString &text) const;

    /// What the emoji is called, with its tone; empty when it has no name.
    QString name(const QString &emoji) const;
    /// The emoji in a skin tone, 1 to 5 from light to dark, 0 as it is by itself; as it was when it has no tones.
    QString inTone(const QString &emoji, int tone) const;
    bool hasTones(const QString &emoji) const;

private:
    int number(const QString &emoji) const;
    QString plainName(int number) const;
    bool isDrawn(int number);

    CanDraw m_canDraw;
    std::optional<EmojiTable> m_english;
    std::optional<EmojiTable> m_own; ///< absent where it is English
    QHash<QString, int> m_numbers;   ///< by the emoji without tone and variation selectors
    enum class Drawn : quint8 { Unknown, Yes, No };
    std::vector<Drawn> m_drawn;
};

} // namespace cobblet
