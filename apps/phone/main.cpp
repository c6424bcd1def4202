// The command that shows and handles the simulated phone.
#include "common/Failure.h"
#include "common/HeapText.h"
#include "Requests.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <Ecore.h>
#include <unistd.h>

namespace {

const char* const kHelp = R"(phone: a simulated phone beside the watch, with alarms of its own

  phone pair [--vendor NAME]       becomes the watch's phone; of the watch's make, velmora, when no
                                   other maker is named. It is not connected then
  phone connect, phone disconnect  comes near, and stays connected until it goes away
  phone add TIME|--in TIME [--days DAYS] [--name TEXT]
                                   a new alarm; the watch takes 1000
  phone edit N [TIME|--in TIME] [--days DAYS] [--name TEXT]
  phone on N, phone off N          switches an alarm
  phone remove N                   deletes one
  phone list                       its alarms
  phone log                        what it and the watch have said to each other
  phone send FILE                  sends the bytes of a file to the watch

TIME is 00:00 to 23:59, after --in 5s, 10m or 2h; DAYS are mon-fri, or sat,sun, or daily, or once.
Exit status: 0 done, 1 not done, 2 the command line is wrong; nothing was changed then.
)";

std::string print(const requests::Result& result)
{
    if (result.status != 0)
        throw Failure(result.status, result.error);
    fputs(result.out.c_str(), stdout);
    return result.out;
}

// The phone connects while it goes on answering.
void connect(const std::vector<std::string>& arguments)
{
    const int tries = 200;
    const useconds_t pause = 50000;
    for (int i = 0; i < tries; ++i) {
        if (!print(requests::ask(arguments)).empty())
            return;
        usleep(pause);
    }
    throw Failure(Failure::kFailed, "the watch does not answer; phone log shows what was said");
}

void run(std::vector<std::string> arguments)
{
    if (std::count(arguments.begin(), arguments.end(), "--help") > 0) {
        fputs(kHelp, stdout);
        return;
    }
    // The phone has a working directory of its own.
    if (arguments.size() == 2 && arguments[0] == "send") {
        const std::string path = app::takeText(realpath(arguments[1].c_str(), nullptr));
        arguments[1] = path.empty() ? arguments[1] : path;
    }
    if (arguments == std::vector<std::string>{ "connect" }) {
        connect(arguments);
    } else {
        print(requests::ask(arguments));
    }
}

} // namespace

int main(int argc, char** argv)
{
    ecore_app_no_system_modules(); // they look for a system bus and make every start slower
    ecore_init();
    int status = 0;
    try {
        run({ argv + 1, argv + argc });
        if (fflush(stdout) != 0 || ferror(stdout))
            throw Failure(Failure::kFailed, "the result cannot be written");
    } catch (const Failure& failure) {
        fprintf(stderr, "phone: %s\n", failure.what());
        status = failure.status();
    }
    ecore_shutdown();
    return status;
}
