#pragma once

#include "platform/Availability.h"

#include <QString>

namespace cobblet {

/// The general clipboard. Main thread only.
class Pasteboard {
public:
    virtual ~Pasteboard() = default;

    virtual Availability availability() const = 0;
    /// Replaces what is on it.
    virtual void setText(const QString &text) = 0;
};

} // namespace cobblet
