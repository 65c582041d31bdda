// The command that is on the path. It asks the running Cobblet; where none runs, it becomes the application.

#include "command/Identity.h"
#include "command/RunningInstance.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string_view>

#include <fcntl.h>
#include <sysexits.h>
#include <unistd.h>

namespace {

using namespace cobblet;

/// Descriptors 0 to 2 are open afterwards, so that none of them becomes the connection to the bus.
bool keepStandardStreams()
{
    for (int stream = 0; stream <= 2; ++stream)
        if (fcntl(stream, F_GETFD) == -1 && open("/dev/null", O_RDWR) == -1)
            return false;
    return true;
}

/// False when the text could not be written whole; errno says why.
bool write(FILE *stream, const std::string &text)
{
    return std::fwrite(text.data(), 1, text.size(), stream) == text.size() && std::fflush(stream) == 0;
}

void complain(const std::string &sentence)
{
    write(stderr, "cobblet: " + sentence + "\n");
}

int print(const Answer &answer)
{
    write(stderr, answer.errors);
    if (write(stdout, answer.output) || errno == EPIPE)
        return answer.status;
    complain(std::string("the answer can't be written: ") + std::strerror(errno) + ".");
    return EX_IOERR;
}

int becomeApplication(const Identity &identity, char **argv)
{
    const std::string path = identity.bundle + "/Contents/MacOS/cobblet";
    execv(path.c_str(), argv);
    complain("Cobblet can't be started from " + path + ": " + std::strerror(errno) +
             ". Install it again, all of it.");
    return EX_UNAVAILABLE;
}

/// What a new process does, whether or not an instance runs.
bool isForTheApplication(std::string_view argument)
{
    return argument == "--help" || argument == "-h" || argument == "--version" || argument == "--service";
}

} // namespace

int main(int argc, char **argv)
{
    if (!keepStandardStreams())
        return EX_OSERR;
    const Identity identity = Identity::own();
    if (argc < 2 || !isForTheApplication(argv[1]))
        if (const auto answer = askRunningInstance(identity, {argv + 1, size_t(argc > 1 ? argc - 1 : 0)}))
            return print(*answer);
    return becomeApplication(identity, argv);
}
