#include "Rounds.h"

#include "Clock.h"
#include "Display.h"
#include "Failure.h"
#include "Process.h"
#include "Trigger.h"

#include <algorithm>
#include <memory>

#include <poll.h>

namespace panelwatch {

namespace {

using Json = nlohmann::ordered_json;

constexpr double afterHiding = 100; // in which a program finishes what hiding started

// Times of one appearance, each on the clock.
struct Appearance {
    xcb_window_t window = XCB_NONE;
    double requested = 0;
    double mapped = 0;
    double drawn = 0;   // anything at all, if only a background
    double painted = 0; // the first drawing after which the drawn part is full of colours
};

class Session {
public:
    explicit Session(const Plan &plan) : m_plan(plan), m_display(plan.windowClass)
    {
        if (!plan.key.empty())
            m_request = std::make_unique<KeyTrigger>(m_display, plan.key);
        else if (!plan.bus.empty())
            m_request = std::make_unique<BusTrigger>(plan.bus, plan.action);
        else
            m_request = std::make_unique<CommandTrigger>(plan.command);
        if (plan.dismiss != "end")
            m_dismissal = m_display.keysOf(plan.dismiss);
    }

    Display &display() { return m_display; }
    pid_t pid() const { return m_plan.pid > 0 ? m_plan.pid : m_child ? m_child->pid() : 0; }
    double childCpu() const { return m_childCpu; }

    Appearance show()
    {
        if (m_display.shown() != XCB_NONE)
            throw Failure("the panel is on screen before it is asked for");
        m_display.forgetDrawing();
        Appearance seen;
        seen.requested = m_request->fire();
        m_child = m_request->takeChild();
        need([&] { return (seen.window = m_display.shown()) != XCB_NONE; }, "no window came");
        double checked = 0;
        need(
            [&] {
                const auto state = m_display.watched(seen.window);
                if (!state || state->lastDrawn <= checked)
                    return false;
                checked = state->lastDrawn;
                if (!m_display.picture(seen.window, true).hasColours(m_plan.colours))
                    return false;
                seen.mapped = state->mappedAt;
                seen.drawn = state->firstDrawn;
                seen.painted = checked;
                return true;
            },
            "the window stayed without content");
        return seen;
    }

    // Answers the moment of the last drawing, after which nothing more came for a while. Ends with an animation
    // that never does, too.
    double settle(xcb_window_t window)
    {
        const double deadline = now() + m_plan.timeout;
        double last = 0;
        for (double left = m_plan.quiet; left > 0 && now() < deadline;) {
            m_display.wait(left);
            const auto state = m_display.watched(window);
            if (!state)
                throw Failure("the window went by itself");
            last = state->lastDrawn;
            left = last + m_plan.quiet - now();
        }
        return last;
    }

    // Answers how long the window took to go.
    double hide(xcb_window_t window)
    {
        double asked = now();
        if (!m_dismissal.empty())
            asked = m_display.press(m_dismissal);
        else if (m_child)
            m_child->terminate();
        double gone = 0;
        need(
            [&] {
                const auto state = m_display.watched(window);
                gone = now();
                return !state || !state->isMapped;
            },
            "the window did not go");
        m_childCpu = 0;
        if (m_child) {
            if (!m_child->wait(m_plan.timeout))
                throw Failure("the started program still runs after its window has gone");
            m_childCpu = m_child->cpu();
            m_child.reset();
        }
        return gone - asked;
    }

    void need(const std::function<bool()> &done, const char *otherwise)
    {
        if (!m_display.waitUntil(done, m_plan.timeout))
            throw Failure(std::string(otherwise) + " within " + std::to_string(int(m_plan.timeout)) + " ms");
    }

private:
    const Plan &m_plan;
    Display m_display;
    std::unique_ptr<Trigger> m_request;
    std::vector<Display::KeyCode> m_dismissal;
    std::unique_ptr<Child> m_child;
    double m_childCpu = 0;
};

void append(Json &samples, const Json &row)
{
    for (const auto &[name, value] : row.items())
        samples[name].push_back(value);
}

// The share of the pixels that differ between two pictures in which `seen` already is as `after`.
double shareArrived(const Picture &before, const Picture &after, const Picture &seen)
{
    const int width = std::min({before.width, after.width, seen.width});
    const int height = std::min({before.height, after.height, seen.height});
    size_t changing = 0;
    size_t arrived = 0;
    for (int y = 0; y < height; ++y) {
        const auto *was = before.pixels.data() + ptrdiff_t(y) * before.width;
        const auto *becomes = after.pixels.data() + ptrdiff_t(y) * after.width;
        const auto *is = seen.pixels.data() + ptrdiff_t(y) * seen.width;
        for (int x = 0; x < width; ++x) {
            changing += size_t(was[x] != becomes[x]);
            arrived += size_t(was[x] != becomes[x] && is[x] == becomes[x]);
        }
    }
    return changing == 0 ? 0 : double(arrived) / double(changing);
}

Json memoryGrowth(const Json &first, const Json &last)
{
    Json growth;
    for (const char *kind : {"rss", "pss", "anon"})
        if (first.contains(kind) && last.contains(kind))
            growth[kind] = last[kind].get<long>() - first[kind].get<long>();
    return growth;
}

} // namespace

Json measureShow(const Plan &plan)
{
    Session session(plan);
    Json samples;
    Json shownMemory;
    Json result = {{"label", plan.label}, {"kind", "show"}, {"rounds", plan.rounds}};
    for (int round = -plan.warmup; round < plan.rounds; ++round) {
        session.display().wait(plan.pause);
        const double cpuBefore = cpuOf(plan.pid);
        const Appearance seen = session.show();
        const double settled = session.settle(seen.window);
        const double cpuShown = cpuOf(session.pid()) - cpuBefore;
        shownMemory = memoryOf(session.pid());
        const double hidden = session.hide(seen.window);
        session.display().wait(afterHiding);
        const double cpu = cpuOf(plan.pid) - cpuBefore + session.childCpu();
        const double start = seen.requested;
        const Json row = {{"mapped", seen.mapped - start},
                          {"drawn", seen.drawn - start},
                          {"painted", seen.painted - start},
                          {"settled", settled - start},
                          {"late", settled - seen.painted},
                          {"hidden", hidden},
                          {"cpu_show", cpuShown},
                          {"cpu", cpu}};
        if (round == -plan.warmup)
            result["first"] = row;
        if (round >= 0)
            append(samples, row);
    }
    result["samples"] = samples;
    result["memory_shown"] = shownMemory;
    if (plan.pid > 0)
        result["memory_hidden"] = memoryOf(plan.pid);
    return result;
}

Json measureChange(const Plan &plan)
{
    Session session(plan);
    Display &display = session.display();
    const xcb_window_t window = display.shown();
    if (window == XCB_NONE)
        throw Failure("the panel is not on screen");
    KeyTrigger change(display, plan.key);
    KeyTrigger back(display, plan.back);
    const auto settledAfter = [&](Trigger &trigger) {
        display.forgetDrawing();
        trigger.fire();
        session.need([&] { return display.watched(window).value_or(Display::Watched()).lastDrawn > 0; },
                     "nothing was drawn");
        session.settle(window);
        return display.picture(window, false);
    };
    settledAfter(change);
    const Picture before = settledAfter(back);
    const Picture after = settledAfter(change);

    Json samples;
    for (int round = -plan.warmup; round < plan.rounds; ++round) {
        settledAfter(back);
        display.wait(plan.pause);
        const double cpuBefore = cpuOf(plan.pid);
        display.forgetDrawing();
        const double requested = change.fire();
        double checked = 0;
        double painted = 0;
        session.need(
            [&] {
                const auto state = display.watched(window);
                if (!state || state->lastDrawn <= checked)
                    return false;
                checked = painted = state->lastDrawn;
                return shareArrived(before, after, display.picture(window, false)) >= 0.5;
            },
            "the changed panel was not painted");
        const double drawn = display.watched(window).value_or(Display::Watched()).firstDrawn;
        const double settled = session.settle(window);
        if (round >= 0)
            append(samples, {{"drawn", drawn - requested},
                             {"painted", painted - requested},
                             {"settled", settled - requested},
                             {"cpu", cpuOf(plan.pid) - cpuBefore}});
    }
    return {{"label", plan.label}, {"kind", "change"}, {"rounds", plan.rounds}, {"samples", samples}};
}

Json measureCycles(const Plan &plan)
{
    Session session(plan);
    Json memory = Json::array();
    for (int cycle = 1; cycle <= plan.rounds; ++cycle) {
        const xcb_window_t window = session.show().window;
        // A key pressed before the window manager has given the panel the focus would go elsewhere.
        session.need([&] { return session.display().watched(window).value_or(Display::Watched()).hasFocus; },
                     "the panel did not get the focus");
        session.hide(window);
        if (cycle == 1 || cycle == 10 || cycle % 100 == 0 || cycle == plan.rounds) {
            session.display().wait(500);
            Json sample = {{"cycle", cycle}};
            sample.update(memoryOf(plan.pid));
            memory.push_back(sample);
        }
    }
    return {{"label", plan.label},
            {"kind", "cycles"},
            {"rounds", plan.rounds},
            {"memory", memory},
            {"growth", memoryGrowth(memory.front(), memory.back())}};
}

Json measureRun(const Plan &plan)
{
    Json samples;
    for (int round = -plan.warmup; round < plan.rounds; ++round) {
        ::poll(nullptr, 0, int(plan.pause));
        const double started = now();
        Child child(plan.command);
        const bool ended = child.wait(plan.timeout);
        const double whole = now() - started;
        if (!ended || !child.succeeded())
            throw Failure("\"" + plan.command.front() + "\" did not end, or not with status 0");
        if (round >= 0)
            append(samples, {{"whole", whole}, {"cpu", child.cpu()}});
    }
    return {{"label", plan.label}, {"kind", "run"}, {"rounds", plan.rounds}, {"samples", samples}};
}

Json measureIdle(const Plan &plan)
{
    const double cpuBefore = cpuOf(plan.pid);
    auto switchesBefore = switchesOf(plan.pid);
    ::poll(nullptr, 0, int(plan.seconds * 1e3));
    const Json memory = memoryOf(plan.pid);
    if (memory.empty())
        throw Failure("the program has ended by itself");
    const double cpu = cpuOf(plan.pid) - cpuBefore;
    long switches = 0; // of a thread that has ended meanwhile, nothing is known any more
    for (const auto &[thread, count] : switchesOf(plan.pid))
        switches += count - switchesBefore[thread];
    return {{"label", plan.label},  {"kind", "idle"}, {"seconds", plan.seconds},
            {"switches", switches}, {"cpu", cpu},     {"memory", memory}};
}

} // namespace panelwatch
