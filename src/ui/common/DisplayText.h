#pragma once

#include <QString>

namespace cobblet {

/// A name from outside as one line that can be shown: control characters and line breaks become spaces, and
/// what no label could show anyway is cut off.
inline QString displayText(const QString &name)
{
    constexpr qsizetype longest = 200;
    QString text;
    text.reserve(std::min(name.size(), longest));
    for (const QChar c : name) {
        if (text.size() == longest)
            break;
        const auto category = c.category();
        const bool breaks = category == QChar::Other_Control || category == QChar::Separator_Line ||
                            category == QChar::Separator_Paragraph;
        text.append(breaks ? QLatin1Char(' ') : c);
    }
    // The cut must not leave half of a surrogate pair behind.
    if (!text.isEmpty() && text.back().isHighSurrogate())
        text.chop(1);
    return text;
}

} // namespace cobblet
