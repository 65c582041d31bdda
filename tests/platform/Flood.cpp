// A client that calls the running instance as fast as it answers, without end.
#include "RawClient.h"

using namespace cobblet::test;

int main()
{
    // No more at a time than the bus itself can take, whose own queue would be measured otherwise.
    constexpr int atATime = 200;
    RawClient client;
    for (;;) {
        std::map<std::string, int> answers;
        for (int i = 0; i < atATime; ++i)
            client.send(RawClient::find("work"));
        while (sum(answers) < atATime)
            client.countAnswers(answers, 10);
    }
}
