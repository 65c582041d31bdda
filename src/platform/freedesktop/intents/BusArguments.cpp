#include "platform/freedesktop/intents/BusArguments.h"

#include <QByteArrayList>
#include <QDBusArgument>
#include <QDBusVariant>
#include <QStringList>

namespace cobblet {

namespace {

/// Reads what a caller sent and stops where it is too much. Nothing is counted twice, and what nests is walked as it
/// stands: the bus has checked that it ends.
class Reader {
public:
    /// Empty as long as everything fits.
    const QString &error() const { return m_error; }

    /// A value as the toolkit hands it out.
    QVariant read(const QVariant &value)
    {
        if (value.metaType() == QMetaType::fromType<QDBusArgument>())
            return container(value.value<QDBusArgument>());
        if (value.metaType() == QMetaType::fromType<QDBusVariant>())
            return read(value.value<QDBusVariant>().variant());
        switch (value.typeId()) {
        case QMetaType::QString:
            text(value.toString());
            break;
        case QMetaType::QStringList:
            texts(value.toStringList());
            break;
        case QMetaType::QByteArray:
            bytes(value.toByteArray().size());
            break;
        default:
            add(8);
        }
        return value;
    }

private:
    QVariant container(const QDBusArgument &in)
    {
        // What is begun is also ended, however much is too much: the toolkit frees its place in the message only
        // then.
        switch (in.currentType()) {
        case QDBusArgument::MapType: {
            QVariantMap texts;
            in.beginMap();
            for (qsizetype count = 1; fits() && !in.atEnd(); ++count) {
                in.beginMapEntry();
                const QVariant key = next(in, count), value = next(in, count);
                in.endMapEntry();
                if (value.typeId() == QMetaType::QString)
                    texts.insert(key.toString(), value);
            }
            in.endMap();
            return texts;
        }
        case QDBusArgument::ArrayType: {
            QByteArrayList list;
            in.beginArray();
            for (qsizetype count = 1; fits() && !in.atEnd(); ++count)
                if (const QVariant each = next(in, count); each.typeId() == QMetaType::QByteArray)
                    list.append(each.toByteArray());
            in.endArray();
            return QVariant::fromValue(list);
        }
        case QDBusArgument::StructureType:
            in.beginStructure();
            for (qsizetype count = 1; fits() && !in.atEnd(); ++count)
                next(in, count);
            in.endStructure();
            return {};
        default:
            m_error = QStringLiteral("A value is of no type that is known here.");
            return {};
        }
    }

    /// The value that `in` stands at, as the number `count` in a list; afterwards it stands behind it.
    QVariant next(const QDBusArgument &in, qsizetype count)
    {
        items(count);
        return read(in.asVariant());
    }

    bool fits() const { return m_error.isEmpty(); }

    void text(const QString &text)
    {
        // A text of this many UTF-16 units may be short enough in UTF-8 or not; a third of them always is.
        bytes(text.size() * 3 <= BusBounds::textBytes ? text.size() : text.toUtf8().size());
    }

    void texts(const QStringList &list)
    {
        items(list.size());
        for (qsizetype i = 0; fits() && i < list.size(); ++i)
            text(list[i]);
    }

    void bytes(qsizetype count)
    {
        if (count > BusBounds::textBytes)
            m_error = QStringLiteral("A text is longer than %1 bytes.").arg(BusBounds::textBytes);
        add(count);
    }

    void items(qsizetype count)
    {
        if (count > BusBounds::items)
            m_error = QStringLiteral("A list has more than %1 items.").arg(BusBounds::items);
    }

    void add(qsizetype bytes)
    {
        m_total += bytes + 8; // what even an empty value takes
        if (fits() && m_total > BusBounds::callBytes)
            m_error =
                QStringLiteral("The arguments are larger than %1 KiB together.").arg(BusBounds::callBytes / 1024);
    }

    qsizetype m_total = 0;
    QString m_error;
};

} // namespace

Result<QVariantList> boundedArguments(const QVariantList &received)
{
    Reader reader;
    QVariantList read;
    for (const QVariant &argument : received) {
        read.append(reader.read(argument));
        if (!reader.error().isEmpty())
            return Error{reader.error()};
    }
    return read;
}

} // namespace cobblet
