#pragma once

#include <QColor>
#include <QObject>

namespace cobblet {

/// The desktop's light or dark appearance. Main thread only.
class Appearance : public QObject {
    Q_OBJECT
public:
    virtual bool isDark() const = 0;
    /// The desktop's accent colour, or a standard blue where it has none.
    virtual QColor accentColor() const = 0;

signals:
    void changed();
};

} // namespace cobblet
