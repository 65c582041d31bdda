// The signing tool of desktops that have none: seals a bundle, and says what is not as it was sealed.

#include "seal/Seal.h"

#include <algorithm>
#include <string_view>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

namespace {

using namespace cobblet::seal;

constexpr size_t maximumSentences = 20;
enum Outcome { Sound = 0, Unsound = 1, Misused = 2 };

void complain(std::string text)
{
    text += '\n';
    for (std::string_view rest(text); !rest.empty();) {
        const ssize_t written = write(STDERR_FILENO, rest.data(), rest.size());
        if (written <= 0)
            return;
        rest.remove_prefix(size_t(written));
    }
}

int report(const Faults &faults)
{
    std::string text;
    for (size_t i = 0; i < std::min(faults.size(), maximumSentences); ++i)
        text += (i ? "\ncodesign: " : "codesign: ") + faults[i];
    if (faults.size() > maximumSentences)
        text += "\ncodesign: And " + std::to_string(faults.size() - maximumSentences) + " more.";
    if (!faults.empty())
        complain(text);
    return faults.empty() ? Sound : Unsound;
}

/// Descriptors 0 to 2 are open afterwards, so that no file of the bundle is taken for one of them.
bool keepStandardStreams()
{
    for (int stream = 0; stream <= 2; ++stream)
        if (fcntl(stream, F_GETFD) == -1 && open("/dev/null", O_RDWR) == -1)
            return false;
    return true;
}

} // namespace

int main(int argc, char **argv)
{
    using Words = std::vector<std::string_view>;
    if (!keepStandardStreams())
        return Unsound;
    const Words words(argv + std::min(argc, 1), argv + std::max(argc - 1, 1));
    const char *bundle = argv[argc - 1];
    if (words == Words{"--verify", "--strict"})
        return report(checkSeal(bundle));
    if (words == Words{"--force", "--deep", "--sign", "-"})
        return report(makeSeal(bundle, true));
    if (words == Words{"--deep", "--sign", "-"})
        return report(makeSeal(bundle, false));
    complain("usage: codesign [--force] --deep --sign - BUNDLE\n       codesign --verify --strict BUNDLE");
    return Misused;
}
