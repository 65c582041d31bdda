#include "platform/freedesktop/ScreenGeometry.h"
#include "support/Test.h"

using namespace cobblet::geometry;

namespace {

using Numbers = std::vector<uint32_t>;

TEST(VisibleFrame, LeavesOutWhatDocksReserve)
{
    // Two screens side by side, the right one taller; and one to the right of a 4K one at scale 2. In y-down points.
    const ToolkitScreen left{QRectF(0, 0, 1920, 1080), 1}, right{QRectF(1920, 0, 2560, 1440), 1};
    const ToolkitScreen beside{QRectF(3840, 0, 1920, 1080), 1};
    const QSize both{4480, 1440}, dense{5760, 2160};
    const Numbers ofLeft{0, 0, 0, 408, 0, 0, 0, 0, 0, 0, 0, 1919}, ofRight{1984, 0, 0, 0, 0, 1439, 0, 0, 0, 0, 0, 0};
    const struct {
        const char *name;
        ToolkitScreen screen;
        QSize desktop;
        Numbers dock;
        QRectF visible;
    } cases[] = {
        {"old property", left, {1920, 1080}, {0, 0, 24, 48}, {0, 24, 1920, 1008}},
        {"one that would leave nothing", left, {1920, 1080}, {0, 0, 600, 600}, {0, 0, 1920, 1080}},
        {"counted from the desktop's bottom", left, both, ofLeft, {0, 0, 1920, 1032}},
        {"on the right screen's left side", right, both, ofRight, {1984, 0, 2496, 1440}},
        {"that dock does not swallow the left screen", left, both, ofRight, {0, 0, 1920, 1080}},
        {"beside a dense one", beside, dense, {0, 0, 0, 1140, 0, 0, 0, 0, 0, 0, 3840, 5759}, {3840, 0, 1920, 1020}},
    };
    for (const auto &[name, screen, desktop, dock, visible] : cases)
        EXPECT_EQ(visibleFrame(screen, {strutFrom(dock).value_or(Strut{})}, desktop), visible) << name;
    for (const Numbers &numbers : {Numbers{}, Numbers{1, 2, 3}, Numbers(12), Numbers(13, 5u)})
        EXPECT_FALSE(strutFrom(numbers)) << numbers.size();
}

} // namespace
