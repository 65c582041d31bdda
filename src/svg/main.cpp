// Draws SVG documents for the process that started it, with which it shares a socket as its standard input.

#include "platform/portable/Releasing.h"
#include "platform/portable/SvgRequest.h"

#include <librsvg/rsvg.h>

#include <csignal>
#include <cstdlib>
#include <memory>
#include <vector>

#include <poll.h>
#include <sys/resource.h>
#include <sys/time.h>
#include <unistd.h>

namespace {

using namespace cobblet;

/// Of the processor's time, for one document: icons take milliseconds, and the worst that can be written take minutes
/// and more.
constexpr time_t maximumSeconds = 2;
#ifndef COBBLET_SANITIZED // which takes more
constexpr rlim_t maximumMemory = 512 * 1024 * 1024;
#endif

using Handle = std::unique_ptr<RsvgHandle, Releasing<g_object_unref>>;
using Surface = std::unique_ptr<cairo_surface_t, Releasing<cairo_surface_destroy>>;
using Canvas = std::unique_ptr<cairo_t, Releasing<cairo_destroy>>;

/// Ends the process where the document takes more than icons do. Nothing but time and memory has to be bounded:
/// without an address of its own a document can refer only to what it holds itself.
void setLimits()
{
    std::signal(SIGPROF, SIG_DFL);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
#ifndef COBBLET_SANITIZED
    const rlimit memory{maximumMemory, maximumMemory};
    setrlimit(RLIMIT_DATA, &memory);
#endif
    const rlimit noCore{0, 0};
    setrlimit(RLIMIT_CORE, &noCore);
    setenv("RAYON_NUM_THREADS", "1", 1); // the library would start a thread for each processor
}

void allow(time_t seconds)
{
    const itimerval timer{{}, {seconds, 0}};
    setitimer(ITIMER_PROF, &timer, nullptr);
}

/// In the middle of the picture, with its proportions kept.
bool draw(const std::vector<unsigned char> &document, std::vector<unsigned char> &pixels, int side)
{
    const Handle handle(rsvg_handle_new_from_data(document.data(), document.size(), nullptr));
    if (!handle)
        return false;
    const Surface surface(
        cairo_image_surface_create_for_data(pixels.data(), CAIRO_FORMAT_ARGB32, side, side, 4 * side));
    const Canvas canvas(cairo_create(surface.get()));
    const RsvgRectangle whole{0, 0, double(side), double(side)};
    const bool drawn = rsvg_handle_render_document(handle.get(), canvas.get(), &whole, nullptr);
    cairo_surface_flush(surface.get());
    return drawn;
}

} // namespace

int main()
{
    // The starter waits for the first process, which ends at once, and not for its child, which draws.
    if (fork() != 0)
        _exit(EXIT_SUCCESS);
    setLimits();
    SvgRequest request{};
    pollfd asked{STDIN_FILENO, POLLIN, 0};
    while (poll(&asked, 1, svgPatience * 1000) > 0 && receiveAll(STDIN_FILENO, &request, sizeof request)) {
        if (request.bytes > maximumSvgBytes || request.side == 0 || request.side > maximumSvgSide)
            return EXIT_FAILURE;
        std::vector<unsigned char> document(request.bytes);
        std::vector<unsigned char> pixels(size_t(4) * request.side * request.side);
        if (!receiveAll(STDIN_FILENO, document.data(), document.size()))
            return EXIT_FAILURE;
        allow(maximumSeconds);
        const unsigned char drawn = draw(document, pixels, int(request.side)) ? 1 : 0;
        allow(0);
        if (!sendAll(STDIN_FILENO, &drawn, 1) || (drawn && !sendAll(STDIN_FILENO, pixels.data(), pixels.size())))
            return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
