#pragma once

#include <QSize>

#include <vector>

#include <xcb/xproto.h>

namespace cobblet {

/// The rows of pixels of a rectangle with rounded corners, from top to bottom, as few rectangles as it takes.
/// `size` and `radius` are in pixels; a radius too large for the size is reduced.
std::vector<xcb_rectangle_t> roundedShape(const QSize &size, double radius);

} // namespace cobblet
