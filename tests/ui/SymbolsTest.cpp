#include "ui/common/Symbols.h"

#include <gtest/gtest.h>

namespace cobblet {
namespace {

TEST(Symbols, EveryNameTheViewsUseIsDrawnInTheColourAskedFor)
{
    for (const char *name :
         {"plus", "sidebar.left", "gearshape", "tray", "clock.badge.questionmark", "app.fill", "play.fill",
          "exclamationmark.octagon", "xmark", "eye.slash", "info.circle", "pin", "pin.slash",
          "arrow.up.forward.square", "trash", "macwindow", "gear", "square.grid.2x2", "folder"}) {
        const QImage image = symbolImage(QLatin1String(name), Qt::red, 16, 2);
        ASSERT_EQ(image.size(), QSize(32, 32)) << name;
        EXPECT_EQ(image.devicePixelRatio(), 2) << name;
        int opaque = 0;
        bool inside = true;
        for (int y = 0; y < 32; ++y)
            for (int x = 0; x < 32; ++x) {
                const QColor pixel = image.pixelColor(x, y);
                opaque += pixel.alpha() > 200;
                if (pixel.alpha() > 200)
                    inside = inside && pixel.red() > 200 && pixel.green() == 0;
            }
        EXPECT_GT(opaque, 20) << name;
        EXPECT_TRUE(inside) << name;
    }
    EXPECT_TRUE(symbolImage(QStringLiteral("no.such.symbol"), Qt::red, 16, 1).isNull());
}

} // namespace
} // namespace cobblet
