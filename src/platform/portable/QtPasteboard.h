#pragma once

#include "platform/Pasteboard.h"

#include <QClipboard>
#include <QGuiApplication>

namespace cobblet {

/// The toolkit's clipboard.
class QtPasteboard : public Pasteboard {
public:
    Availability availability() const override { return Availability::works(); }
    void setText(const QString &text) override { QGuiApplication::clipboard()->setText(text); }
};

} // namespace cobblet
