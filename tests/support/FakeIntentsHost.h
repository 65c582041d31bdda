#pragma once

#include "platform/IntentsHost.h"

namespace cobblet::test {

/// Lets a test be the desktop that asks: the requests that are served, and how often the groups were announced.
class FakeIntentsHost : public IntentsHost {
public:
    void serve(IntentRequests &served) override { requests = &served; }
    void stop() override { requests = nullptr; }
    void groupsChanged() override { ++announcements; }

    IntentRequests *requests = nullptr;
    int announcements = 0;
};

} // namespace cobblet::test
