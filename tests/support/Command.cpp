#include "Command.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <spawn.h>
#include <sstream>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace {

const int kSignalled = 128;

std::string contents(const std::string& path)
{
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

} // namespace

CommandResult runCommand(const std::vector<std::string>& arguments)
{
    return BackgroundCommand(arguments).finish();
}

BackgroundCommand::BackgroundCommand(const std::vector<std::string>& arguments)
{
    std::vector<char*> pointers;
    pointers.reserve(arguments.size() + 1);
    for (const std::string& argument : arguments)
        pointers.push_back(const_cast<char*>(argument.c_str()));
    pointers.push_back(nullptr);

    const int flags = O_WRONLY | O_CREAT | O_TRUNC;
    const mode_t mode = 0600;
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_addopen(&files, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(
        &files, STDOUT_FILENO, _files.file("out").c_str(), flags, mode);
    posix_spawn_file_actions_addopen(
        &files, STDERR_FILENO, _files.file("err").c_str(), flags, mode);
    const int error
        = posix_spawnp(&_process, pointers[0], &files, nullptr, pointers.data(), environ);
    posix_spawn_file_actions_destroy(&files);
    if (error != 0)
        throw std::system_error(error, std::generic_category(), arguments[0]);
}

BackgroundCommand::~BackgroundCommand()
{
    if (_process <= 0)
        return;
    signal(SIGKILL);
    finish();
}

std::string BackgroundCommand::output() const { return contents(_files.file("out")); }

void BackgroundCommand::signal(int number) const { kill(_process, number); }

CommandResult BackgroundCommand::finish()
{
    int status = 0;
    while (waitpid(_process, &status, 0) < 0 && errno == EINTR) {
    }
    _process = -1;
    const int code = WIFEXITED(status) ? WEXITSTATUS(status) : kSignalled + WTERMSIG(status);
    return { code, output(), contents(_files.file("err")) };
}
