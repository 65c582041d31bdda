#pragma once

#include <QString>
#include <QStringList>

namespace cobblet {

/// By what the person at this machine could be known from a text.
struct Person {
    QStringList homes; ///< the home folder, as it is called and as it really lies
    QStringList names; ///< of the user, of the account's owner and of the machine

    /// Reads the system's list of users: for what a person asked for.
    static Person ofThisProcess();

    /// The text with "~" in place of the home folder and "…" in place of each name, also within other words.
    QString removedFrom(QString text) const;
};

} // namespace cobblet
