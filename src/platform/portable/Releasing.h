#pragma once

namespace cobblet {

/// Deletes with a library's own function what that library allocated.
template<auto Free>
struct Releasing {
    template<class T>
    void operator()(T *object) const
    {
        Free(object);
    }
};

} // namespace cobblet
