#include "platform/freedesktop/RoundedShape.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace cobblet {

std::vector<xcb_rectangle_t> roundedShape(const QSize &size, double radius)
{
    constexpr int limit = std::numeric_limits<int16_t>::max();
    const int width = std::clamp(size.width(), 0, limit);
    const int height = std::clamp(size.height(), 0, limit);
    radius = std::clamp(radius, 0.0, std::min(width, height) / 2.0);

    std::vector<xcb_rectangle_t> shape;
    for (int y = 0; y < height; ++y) {
        // A pixel is in when its centre lies in the circle.
        const double above = std::max(radius - (std::min(y, height - 1 - y) + 0.5), 0.0);
        const int inset = int(std::lround(radius - std::sqrt(radius * radius - above * above)));
        if (!shape.empty() && shape.back().x == inset)
            ++shape.back().height;
        else if (width > 2 * inset)
            shape.push_back({int16_t(inset), int16_t(y), uint16_t(width - 2 * inset), 1});
    }
    return shape;
}

} // namespace cobblet
