#pragma once

#include <QList>
#include <QString>

#include <functional>

namespace cobblet {

/// How far a service works on this desktop, as a person is told.
struct Availability {
    enum class Level { Works, Partly, Not };

    Level level = Level::Works;
    /// What works, or what does not and what to do about it: one sentence; may be empty when everything works.
    QString sentence;

    static Availability works(const QString &sentence = {}) { return {Level::Works, sentence}; }
    static Availability partly(const QString &sentence) { return {Level::Partly, sentence}; }
    static Availability unavailable(const QString &sentence) { return {Level::Not, sentence}; }

    bool operator==(const Availability &) const = default;
};

/// One of the things that a desktop permits or does not, under the name that lists of them show.
struct Capability {
    QString title;
    Availability availability;

    bool operator==(const Capability &) const = default;
};

/// Takes what a service found out about the desktop.
using CapabilitiesAnswer = std::function<void(const QList<Capability> &)>;

} // namespace cobblet
