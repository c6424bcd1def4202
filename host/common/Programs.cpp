#include "host/common/Programs.h"

#include "host/common/Session.h"

#include <cstdint>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <system_error>
#include <vector>

namespace fs = std::filesystem;

namespace host {

namespace {

// Where in the session a program of that name may be installed, each place with its package.
std::vector<std::pair<std::string, fs::path>> placesOf(const std::string& name)
{
    std::vector<std::pair<std::string, fs::path>> places;
    for (const char* area : { "ro", "packages" }) {
        std::error_code error;
        fs::directory_iterator package(homePath() + area, error);
        for (; !error && package != fs::directory_iterator(); package.increment(error))
            places.emplace_back(package->path().filename(), package->path() / "bin" / name);
        if (error && error != std::errc::no_such_file_or_directory)
            throw std::system_error(error, homePath() + area);
    }
    return places;
}

// An application id is a bus name and has a dot, unlike the folders of a system's programs.
bool isApplicationOf(const std::string& package, const std::string& name)
{
    return package.find('.') != std::string::npos && name.compare(0, package.size(), package) == 0;
}

const std::string kReplaced
    = " (deleted)"; // how the kernel marks a file that is not there any more

std::string linkOf(pid_t process)
{
    std::error_code error;
    return fs::read_symlink("/proc/" + std::to_string(process) + "/exe", error);
}

bool isReplaced(pid_t process)
{
    const std::string link = linkOf(process);
    return link.size() > kReplaced.size()
        && link.compare(link.size() - kReplaced.size(), kReplaced.size(), kReplaced) == 0;
}

// The id of the mount that the file lies on, which no other mount namespace has; 0 when there is no
// such file.
std::uint64_t mountOf(const std::string& file)
{
    struct statx status = {};
    const bool isThere = statx(AT_FDCWD, file.c_str(), 0, STATX_MNT_ID, &status) == 0;
    return isThere ? status.stx_mnt_id : 0;
}

// The package and the program file of an installed application; both empty for any other id.
std::pair<std::string, std::string> installed(const std::string& application)
{
    if (application.empty() || application.find('/') != std::string::npos)
        return {};
    for (const auto& [package, place] : placesOf(application)) {
        std::error_code error;
        if (isApplicationOf(package, application) && fs::exists(place, error))
            return { package, fs::canonical(place, error) };
    }
    return {};
}

} // namespace

Identity identityOfProcess(pid_t process)
{
    const std::string proc = "/proc/" + std::to_string(process);
    const std::string file = programOfProcess(process);
    const std::string name = fs::path(file).filename();
    for (const auto& [package, place] : placesOf(name)) {
        std::error_code error;
        // A process can mount a file of its own over the program's in its mount namespace: that has
        // the same path, but is another file.
        const bool isIt = fs::canonical(place, error) == file && !error
            && (isReplaced(process) ? mountOf(proc + "/exe") == mountOf(place)
                                    : fs::equivalent(proc + "/exe", place, error));
        if (isIt)
            return { package, isApplicationOf(package, name) ? name : "" };
    }
    return {};
}

std::string programOf(const std::string& application) { return installed(application).second; }

std::string packageOf(const std::string& application) { return installed(application).first; }

std::string programOfProcess(pid_t process)
{
    std::string file = linkOf(process);
    if (isReplaced(process))
        file.erase(file.size() - kReplaced.size());
    return file;
}

} // namespace host
