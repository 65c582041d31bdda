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
    if (width == 0 || height == 0)
        return {};
    radius = std::clamp(radius, 0.0, std::min(width, height) / 2.0);
    const int rows = int(std::ceil(radius));

    std::vector<xcb_rectangle_t> shape;
    const auto add = [&](int y, int rowHeight, int inset) {
        if (rowHeight <= 0 || width <= 2 * inset)
            return;
        if (!shape.empty() && shape.back().x == inset) { // the same row again
            shape.back().height = uint16_t(shape.back().height + rowHeight);
            return;
        }
        shape.push_back({int16_t(inset), int16_t(y), uint16_t(width - 2 * inset), uint16_t(rowHeight)});
    };
    // A pixel is in when its centre lies in the circle.
    const auto insetOfRow = [&](int row) {
        const double above = radius - (row + 0.5);
        return above <= 0 ? 0 : int(std::lround(radius - std::sqrt(radius * radius - above * above)));
    };
    for (int row = 0; row < rows; ++row)
        add(row, 1, insetOfRow(row));
    add(rows, height - 2 * rows, 0);
    for (int row = rows - 1; row >= 0; --row)
        if (height - 1 - row >= rows) // an odd height shares its middle row
            add(height - 1 - row, 1, insetOfRow(row));
    return shape;
}

} // namespace cobblet
