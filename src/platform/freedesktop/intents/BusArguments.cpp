#include "platform/freedesktop/intents/BusArguments.h"

#include <QByteArrayList>
#include <QDBusArgument>
#include <QDBusVariant>
#include <QStringList>

namespace cobblet {

namespace {

/// Walks what a caller sent and stops where it is too much. Nothing is counted twice, and what nests is walked as it
/// stands: the bus has checked that it ends.
class Meter {
public:
    const QString &error() const { return m_error; }

    bool text(const QString &text)
    {
        // A text of this many UTF-16 units may be short enough in UTF-8 or not; a third of them always is.
        const qsizetype bytes = text.size() * 3 <= BusBounds::textBytes ? text.size() : text.toUtf8().size();
        return bytes <= BusBounds::textBytes ? add(bytes) : longText();
    }

    bool bytes(const QByteArray &bytes)
    {
        return bytes.size() <= BusBounds::textBytes ? add(bytes.size()) : longText();
    }

    bool texts(const QStringList &list)
    {
        if (!items(list.size()))
            return false;
        for (const QString &each : list)
            if (!text(each))
                return false;
        return true;
    }

    /// Of any type, as the toolkit hands it out.
    bool value(const QVariant &value)
    {
        if (value.metaType() == QMetaType::fromType<QDBusArgument>())
            return container(value.value<QDBusArgument>());
        if (value.metaType() == QMetaType::fromType<QDBusVariant>())
            return this->value(value.value<QDBusVariant>().variant());
        switch (value.typeId()) {
        case QMetaType::QString:
            return text(value.toString());
        case QMetaType::QStringList:
            return texts(value.toStringList());
        case QMetaType::QByteArray:
            return bytes(value.toByteArray());
        default:
            return add(8);
        }
    }

    bool container(const QDBusArgument &in)
    {
        switch (in.currentType()) {
        case QDBusArgument::ArrayType: {
            in.beginArray();
            const bool fits = elements(in);
            in.endArray();
            return fits;
        }
        case QDBusArgument::StructureType: {
            in.beginStructure();
            const bool fits = elements(in);
            in.endStructure();
            return fits;
        }
        case QDBusArgument::MapType: {
            in.beginMap();
            bool fits = true;
            for (qsizetype count = 0; fits && !in.atEnd();) {
                in.beginMapEntry();
                fits = items(++count) && element(in) && element(in);
                in.endMapEntry();
            }
            in.endMap();
            return fits;
        }
        default:
            return element(in);
        }
    }

    bool items(qsizetype count)
    {
        if (count <= BusBounds::items)
            return true;
        m_error = QStringLiteral("A list has more than %1 items.").arg(BusBounds::items);
        return false;
    }

private:
    bool elements(const QDBusArgument &in)
    {
        for (qsizetype count = 0; !in.atEnd();)
            if (!items(++count) || !element(in))
                return false;
        return true;
    }

    /// What `in` stands at; afterwards it stands behind it.
    bool element(const QDBusArgument &in)
    {
        switch (in.currentType()) {
        case QDBusArgument::ArrayType:
        case QDBusArgument::StructureType:
        case QDBusArgument::MapType:
            return container(in);
        case QDBusArgument::VariantType: {
            QDBusVariant inner;
            in >> inner;
            return value(inner.variant());
        }
        case QDBusArgument::BasicType:
            return value(in.asVariant());
        default:
            m_error = QStringLiteral("A value is of no type that is known here.");
            return false;
        }
    }

    bool add(qsizetype bytes)
    {
        m_total += bytes + 8; // what even an empty value takes
        if (m_total <= BusBounds::callBytes)
            return true;
        m_error = QStringLiteral("The arguments are larger than %1 KiB together.").arg(BusBounds::callBytes / 1024);
        return false;
    }

    bool longText()
    {
        m_error = QStringLiteral("A text is longer than %1 bytes.").arg(BusBounds::textBytes);
        return false;
    }

    qsizetype m_total = 0;
    QString m_error;
};

// What is begun is also ended, however much is too much: the toolkit frees its place in the message only then.

bool readTexts(const QDBusArgument &in, Meter &meter, QVariantMap &texts)
{
    bool fits = true;
    in.beginMap();
    for (qsizetype count = 0; fits && !in.atEnd();) {
        QString key;
        QDBusVariant boxed;
        in.beginMapEntry();
        in >> key >> boxed;
        in.endMapEntry();
        const QVariant value = boxed.variant();
        fits = meter.items(++count) && meter.text(key) && meter.value(value);
        if (fits && value.typeId() == QMetaType::QString)
            texts.insert(key, value);
    }
    in.endMap();
    return fits;
}

bool readByteTexts(const QDBusArgument &in, Meter &meter, QByteArrayList &list)
{
    bool fits = true;
    in.beginArray();
    while (fits && !in.atEnd()) {
        QByteArray each;
        in >> each;
        list.append(each);
        fits = meter.items(list.size()) && meter.bytes(each);
    }
    in.endArray();
    return fits;
}

bool readOne(const QVariant &received, Meter &meter, QVariant &read)
{
    if (received.metaType() != QMetaType::fromType<QDBusArgument>()) {
        read = received;
        return meter.value(received);
    }
    const auto in = received.value<QDBusArgument>();
    const QString signature = in.currentSignature();
    if (signature == QLatin1String("a{sv}")) {
        QVariantMap texts;
        const bool fits = readTexts(in, meter, texts);
        read = texts;
        return fits;
    }
    if (signature == QLatin1String("aay")) {
        QByteArrayList list;
        const bool fits = readByteTexts(in, meter, list);
        read = QVariant::fromValue(list);
        return fits;
    }
    return meter.container(in);
}

} // namespace

Result<QVariantList> boundedArguments(const QVariantList &received)
{
    Meter meter;
    QVariantList read;
    for (const QVariant &argument : received) {
        QVariant value;
        if (!readOne(argument, meter, value))
            return Error{meter.error()};
        read.append(value);
    }
    return read;
}

} // namespace cobblet
