#include "platform/freedesktop/RoundedShape.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace cobblet;

namespace {

bool contains(const std::vector<xcb_rectangle_t> &shape, int x, int y)
{
    int hits = 0;
    for (const xcb_rectangle_t &r : shape)
        hits += x >= r.x && x < r.x + r.width && y >= r.y && y < r.y + r.height;
    EXPECT_LE(hits, 1) << "rectangles overlap at " << x << ", " << y;
    return hits > 0;
}

TEST(RoundedShape, CutsTheCornersAndNothingElse)
{
    struct Case {
        QSize size;
        double radius;
    };
    for (const auto &[size, radius] : {Case{{600, 340}, 14}, Case{{601, 341}, 28}, Case{{40, 41}, 7.5},
                                       Case{{20, 21}, 50}, Case{{20, 20}, 10}, Case{{9, 3}, 0}}) {
        SCOPED_TRACE(testing::Message() << size.width() << "x" << size.height() << " r " << radius);
        const auto shape = roundedShape(size, radius);
        const double r = std::min(radius, std::min(size.width(), size.height()) / 2.0);
        for (int y = 0; y < size.height(); ++y)
            for (int x = 0; x < size.width(); ++x) {
                // How far the pixel's centre lies outside the corner's circle.
                const double dx = std::max({r - (x + 0.5), x + 0.5 - (size.width() - r), 0.0});
                const double dy = std::max({r - (y + 0.5), y + 0.5 - (size.height() - r), 0.0});
                const double outside = dx > 0 && dy > 0 ? std::hypot(dx, dy) - r : -1;
                if (std::abs(outside) > 0.75) {
                    ASSERT_EQ(contains(shape, x, y), outside < 0) << x << ", " << y;
                }
                ASSERT_EQ(contains(shape, x, y), contains(shape, size.width() - 1 - x, size.height() - 1 - y));
            }
    }
    EXPECT_TRUE(roundedShape(QSize(0, 10), 3).empty());
    EXPECT_EQ(roundedShape(QSize(600, 340), 0).size(), 1u);
}

} // namespace
