#include "CommandLine.h"
#include "Commands.h"
#include "common/Failure.h"
#include "Help.h"

#include <AlarmCompanion.h>
#include <cstdio>
#include <Ecore.h>

namespace {

void run(const std::vector<std::string>& arguments)
{
    const CommandLine line = parseCommandLine(arguments);
    if (line.help) {
        fputs(helpText(line.command).c_str(), stdout);
    } else {
        runCommand(line);
    }
    if (fflush(stdout) != 0 || ferror(stdout))
        throw Failure(Failure::kFailed, "the result cannot be written");
}

} // namespace

int main(int argc, char** argv)
{
    companion::useDeviceLanguage();
    ecore_app_no_system_modules(); // they look for a system bus and make every start slower
    ecore_init();
    int status = 0;
    try {
        run({ argv + 1, argv + argc });
    } catch (const Failure& failure) {
        fprintf(stderr, "alarm: %s\n", failure.what());
        status = failure.status();
    }
    ecore_shutdown();
    return status;
}
