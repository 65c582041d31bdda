#pragma once

#include <QByteArrayList>
#include <QDBusConnection>
#include <QDBusError>
#include <QDBusMessage>
#include <QStringList>
#include <QVariant>

#include <memory>

namespace cobblet {

/// A method call whose arguments were checked. Copies are the same call; it is answered exactly once, now or later:
/// later answers are ignored, and a call that is forgotten is answered with an error.
class BusCall {
public:
    /// `arguments` as boundedArguments() gives them.
    BusCall(const QDBusConnection &connection, const QDBusMessage &message, const QVariantList &arguments);

    QString text(int index) const { return argument(index).toString(); }
    QStringList texts(int index) const { return argument(index).toStringList(); }
    QByteArrayList byteTexts(int index) const { return argument(index).value<QByteArrayList>(); }
    QVariantMap map(int index) const { return argument(index).toMap(); }
    quint32 number(int index) const { return argument(index).toUInt(); }
    QString sender() const;

    void reply(const QVariantList &values = {}) const;
    /// `why` is a sentence for whoever called.
    void refuse(QDBusError::ErrorType error, const QString &why) const;
    void refuse(const QString &errorName, const QString &why) const;

    bool isAnswered() const;
    /// Kept until the call is answered.
    void keep(std::shared_ptr<void> ticket) const;

private:
    struct State;
    QVariant argument(int index) const;

    std::shared_ptr<State> m_state;
};

} // namespace cobblet
