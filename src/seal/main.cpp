// The signing tool of desktops that have none: seals a bundle, and says what is not as it was sealed.

#include "seal/Seal.h"

#include <algorithm>
#include <cstdio>
#include <string_view>
#include <vector>

namespace {

using namespace cobblet::seal;

constexpr size_t maximumSentences = 20;
enum Outcome { Sound = 0, Unsound = 1, Misused = 2 };

int report(const Faults &faults)
{
    for (size_t i = 0; i < std::min(faults.size(), maximumSentences); ++i)
        std::fprintf(stderr, "codesign: %s\n", faults[i].c_str());
    if (faults.size() > maximumSentences)
        std::fprintf(stderr, "codesign: And %zu more.\n", faults.size() - maximumSentences);
    return faults.empty() ? Sound : Unsound;
}

} // namespace

int main(int argc, char **argv)
{
    using Words = std::vector<std::string_view>;
    const Words words(argv + std::min(argc, 1), argv + std::max(argc - 1, 1));
    const char *bundle = argv[argc - 1];
    if (words == Words{"--verify", "--strict"})
        return report(checkSeal(bundle));
    if (words == Words{"--force", "--deep", "--sign", "-"})
        return report(makeSeal(bundle, true));
    if (words == Words{"--deep", "--sign", "-"})
        return report(makeSeal(bundle, false));
    std::fputs("usage: codesign [--force] --deep --sign - BUNDLE\n       codesign --verify --strict BUNDLE\n",
               stderr);
    return Misused;
}
