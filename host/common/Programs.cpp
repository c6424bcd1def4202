#include "host/common/Programs.h"

#include "host/common/Session.h"

#include <filesystem>
#include <system_error>
#include <vector>

namespace fs = std::filesystem;

namespace host {

namespace {

// Where in the session a program of that name may be installed: its packages, each with the place.
std::vector<std::pair<std::string, fs::path>> placesOf(const std::string& name)
{
    std::vector<std::pair<std::string, fs::path>> places;
    for (const char* area : { "ro", "packages" }) {
        std::error_code error;
        for (const auto& package : fs::directory_iterator(homePath() + area, error))
            places.emplace_back(package.path().filename(), package.path() / "bin" / name);
    }
    return places;
}

// An application id is a bus name and has a dot, unlike the folders of a system's programs.
bool isApplicationOf(const std::string& package, const std::string& name)
{
    return package.find('.') != std::string::npos && name.compare(0, package.size(), package) == 0;
}

} // namespace

Identity identityOfProgram(const std::string& file)
{
    const std::string name = fs::path(file).filename();
    for (const auto& [package, place] : placesOf(name)) {
        std::error_code error;
        if (fs::canonical(place, error) == file && !error)
            return { package, isApplicationOf(package, name) ? name : "" };
    }
    return {};
}

std::string programOf(const std::string& application)
{
    if (application.empty() || application.find('/') != std::string::npos)
        return "";
    for (const auto& [package, place] : placesOf(application)) {
        std::error_code error;
        if (isApplicationOf(package, application) && fs::exists(place, error))
            return fs::canonical(place, error);
    }
    return "";
}

std::string programOfProcess(pid_t process)
{
    static const std::string replaced = " (deleted)"; // as the kernel marks it
    std::error_code error;
    std::string file = fs::read_symlink("/proc/" + std::to_string(process) + "/exe", error);
    const size_t size = file.size() - std::min(file.size(), replaced.size());
    if (file.compare(size, replaced.size(), replaced) == 0)
        file.erase(size);
    return file;
}

} // namespace host
