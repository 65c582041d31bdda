#pragma once

#include <QString>
#include <QStringConverter>

#include <string>

namespace cobblet {

/// The texts of one group in one block of memory, which they share: a list of many applications costs one
/// allocation per group instead of two per application.
class TextBlock {
public:
    struct Span {
        qsizetype at = 0;
        qsizetype size = 0;
    };

    /// Valid UTF-8 only.
    Span add(const std::string &utf8)
    {
        const size_t at = m_text.size();
        m_text.resize(at + utf8.size() + 1);
        QChar *const begin = reinterpret_cast<QChar *>(m_text.data() + at);
        // A byte order mark is a character here. The parser has checked the encoding.
        QStringDecoder decoder(QStringDecoder::Utf8,
                               QStringDecoder::Flag::ConvertInitialBom | QStringDecoder::Flag::Stateless);
        const QChar *const end = decoder.appendToBuffer(begin, QByteArrayView(utf8.data(), qsizetype(utf8.size())));
        const qsizetype size = end - begin;
        m_text.resize(at + size_t(size) + 1);
        m_text.back() = 0; // each text ends as a QString must
        return {qsizetype(at), size};
    }

    /// Allocates what was added; text() is valid from then until clear().
    void finish() { m_whole = QString(reinterpret_cast<const QChar *>(m_text.data()), qsizetype(m_text.size())); }

    /// Shares the block's memory.
    QString text(Span span)
    {
        if (span.size == 0)
            return {};
        QString::DataPointer &whole = m_whole.data_ptr();
        whole.d_ptr()->ref();
        return QString(QString::DataPointer(whole.d_ptr(), whole.data() + span.at, span.size));
    }

    /// A text by itself, which leaves the block as it was.
    QString single(const std::string &utf8)
    {
        const Span span = add(utf8);
        const QString text(reinterpret_cast<const QChar *>(m_text.data() + span.at), span.size);
        m_text.resize(size_t(span.at));
        return text;
    }

    void clear()
    {
        m_text.clear();
        m_whole.clear();
    }

private:
    std::u16string m_text;
    QString m_whole;
};

} // namespace cobblet
