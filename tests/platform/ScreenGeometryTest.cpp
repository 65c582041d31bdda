#include "platform/freedesktop/ScreenGeometry.h"

#include <gtest/gtest.h>

using namespace cobblet::geometry;

namespace {

using Numbers = std::vector<uint32_t>;

TEST(VisibleFrame, LeavesOutWhatDocksReserve)
{
    struct Place {
        ToolkitScreen screen; // frame in y-down points
        QSize desktop;
    };
    const Place single{{QRectF(0, 0, 1440, 900), 1}, {1440, 900}};
    // Two side by side, the right one taller; and one to the right of a 4K one at scale 2.
    const Place left{{QRectF(0, 0, 1920, 1080), 1}, {4480, 1440}};
    const Place right{{QRectF(1920, 0, 2560, 1440), 1}, {4480, 1440}};
    const Place beside{{QRectF(3840, 0, 1920, 1080), 1}, {5760, 2160}};
    const Numbers ofLeft{0, 0, 0, 408, 0, 0, 0, 0, 0, 0, 0, 1919}, ofRight{1984, 0, 0, 0, 0, 1439, 0, 0, 0, 0, 0, 0};
    const struct {
        const char *name;
        Place place;
        std::vector<Numbers> docks;
        QRectF visible; // y-down points
    } cases[] = {
        {"old property", single, {{0, 0, 24, 48}}, {0, 24, 1440, 828}},
        {"two that would leave nothing together", single, {{0, 0, 500, 500}}, {0, 0, 1440, 900}},
        {"the left screen's, counted from the desktop's bottom", left, {ofLeft}, {0, 0, 1920, 1032}},
        {"dock on the right screen's left side", right, {ofRight}, {1984, 0, 2496, 1440}},
        {"that dock does not swallow the left screen", left, {ofRight}, {0, 0, 1920, 1080}},
        {"beside a dense one", beside, {{0, 0, 0, 1140, 0, 0, 0, 0, 0, 0, 3840, 5759}}, {3840, 0, 1920, 1020}},
    };
    for (const auto &each : cases) {
        QList<Strut> struts;
        for (const Numbers &numbers : each.docks)
            struts.append(strutFrom(numbers).value_or(Strut{}));
        EXPECT_EQ(visibleFrame(each.place.screen, struts, each.place.desktop), each.visible) << each.name;
    }
    for (const Numbers &numbers : {Numbers{}, Numbers{1, 2, 3}, Numbers(12), Numbers(13, 5u)})
        EXPECT_FALSE(strutFrom(numbers)) << numbers.size();
}

TEST(VisibleFrame, LeavesOutWhatTheWorkAreaDoes)
{
    const QRectF visible(0, 24.5, 1280, 723);
    const struct {
        const char *name;
        QRectF workArea, both;
    } cases[] = {
        {"a bar that reserves nothing", {0, 0, 1280, 700}, {0, 24.5, 1280, 675.5}},
        {"the same, rounded in another way", {0, 25, 1280, 722}, visible},
        {"none", {}, visible},
    };
    for (const auto &each : cases)
        EXPECT_EQ(inWorkArea(visible, each.workArea), each.both) << each.name;
}

} // namespace
