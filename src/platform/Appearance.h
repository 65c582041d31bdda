#pragma once

#include "platform/Availability.h"

#include <QColor>
#include <QObject>

namespace cobblet {

/// The desktop's light or dark appearance. Main thread only.
class Appearance : public QObject {
    Q_OBJECT
public:
    /// Partly: the appearance is guessed from the toolkits' settings.
    virtual Availability availability() const = 0;

    virtual bool isDark() const = 0;
    /// The desktop's accent colour, or a standard blue where it has none.
    virtual QColor accentColor() const = 0;

signals:
    void changed();
};

} // namespace cobblet
