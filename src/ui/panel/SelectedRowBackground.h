#pragma once

#include "ui/common/Pictures.h"

namespace cobblet {

/// The selected row's rounded rectangle with its fine outline and its shadow. The item's margin leaves room for
/// the shadow on every side.
class SelectedRowBackground : public cobblet::PictureItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(int margin MEMBER margin CONSTANT)
public:
    using PictureItem::PictureItem;
    static constexpr int margin = 4;

protected:
    void componentComplete() override;
    QImage picture(qreal ratio) const override;
};

} // namespace cobblet
