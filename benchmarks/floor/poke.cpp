// Asks the waiting panel to show itself, with as little as that takes.

#include "Poke.h"

#include <unistd.h>

int main()
{
    const int sender = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    const sockaddr_un address = pokeAddress();
    const char show = 's';
    const bool sent =
        sendto(sender, &show, sizeof show, 0, reinterpret_cast<const sockaddr *>(&address), sizeof address) > 0;
    if (!sent)
        std::perror("cobblet_bench_poke");
    return sent ? 0 : 1;
}
