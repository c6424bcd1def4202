// The command that controls the simulated phone.
#include "common/Failure.h"
#include "Requests.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <Ecore.h>
#include <HeapText.h>
#include <unistd.h>

namespace {

const char* const kHelp = R"(phone: a simulated phone beside the watch, with alarms of its own

  phone pair [--vendor NAME]       make it the watch's phone, not connected yet; its maker is
                                   velmora, as the watch's, unless NAME is given
  phone connect, phone disconnect  bring it near the watch, to stay connected, or take it away
  phone add TIME|--in TIME [--days DAYS] [--name TEXT]
                                   add an alarm; the watch takes at most 1000
  phone edit N [TIME|--in TIME] [--days DAYS] [--name TEXT]
                                   change alarm N
  phone on N, phone off N          switch alarm N on or off
  phone remove N                   delete alarm N
  phone list                       list the phone's alarms
  phone log                        print what the phone and the watch have said to each other
  phone send FILE                  send the bytes of a file to the watch

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

// The phone answers with an empty text until the watch has answered it, so it is asked until then.
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
    // The phone's working directory is another, so a file is told by its whole path.
    if (arguments.size() == 2 && arguments[0] == "send") {
        const std::string path = companion::takeText(realpath(arguments[1].c_str(), nullptr));
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
