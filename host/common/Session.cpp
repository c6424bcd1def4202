#include "host/common/Session.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace fs = std::filesystem;

namespace host {

namespace {

std::string environment(const char* name)
{
    const char* value = getenv(name);
    return value ? value : "";
}

std::string withSlash(std::string path)
{
    if (path.empty() || path.back() != '/')
        path += '/';
    return path;
}

// The named directory, else the folder under the first base that is set, made when absent.
std::string stateDirectory(const char* name, const char* baseName, const std::string& otherBase)
{
    std::string path = environment(name);
    if (path.empty()) {
        const std::string base = environment(baseName);
        path = withSlash(base.empty() ? otherBase : base) + "alarm-host";
    }
    path = withSlash(fs::absolute(path));
    makeDirectory(path);
    return path;
}

Identity readIdentity()
{
    std::error_code error;
    const fs::path file = fs::read_symlink("/proc/self/exe", error);
    const fs::path bin = file.parent_path();
    if (!error && bin.filename() == "bin") {
        const std::string package = bin.parent_path().filename();
        const std::string application = file.filename();
        // An application id is a bus name and has a dot, unlike the folders of a system's programs.
        if (package.find('.') != std::string::npos
            && application.compare(0, package.size(), package) == 0)
            return { package, application };
    }
    return { environment("ALARM_HOST_PACKAGE"), "" };
}

const char* const kZoneData = "/usr/share/zoneinfo/";

// "Europe/Berlin" from ".../zoneinfo/Europe/Berlin", wherever that folder lies; empty when the link
// does not lead there.
std::string zoneIdOfLink(const std::string& link)
{
    static const std::string folder = "zoneinfo/";
    std::error_code error;
    const std::string target = fs::read_symlink(link, error);
    auto at = target.find(folder);
    while (at != std::string::npos && at != 0 && target[at - 1] != '/')
        at = target.find(folder, at + 1);
    return error || at == std::string::npos ? "" : target.substr(at + folder.size());
}

} // namespace

std::string deviceFile(const std::string& path)
{
    static const std::string ringtones = "/opt/usr/data/settings/Ringtones/";
    if (path.compare(0, ringtones.size(), ringtones) != 0)
        return path;
    return homePath() + "ringtones/" + path.substr(ringtones.size());
}

void makeDirectory(const std::string& path)
{
    for (size_t end = 0; end != std::string::npos;) {
        end = path.find('/', end + 1);
        if (mkdir(path.substr(0, end).c_str(), 0700) != 0 && errno != EEXIST)
            throw std::system_error(errno, std::generic_category(), path);
    }
    if (!fs::is_directory(path))
        throw std::system_error(ENOTDIR, std::generic_category(), path);
}

const Identity& identity()
{
    static const Identity who = readIdentity();
    return who;
}

const std::string& homePath()
{
    static const std::string path = stateDirectory(
        "ALARM_HOST_HOME", "XDG_STATE_HOME", environment("HOME") + "/.local/state");
    return path;
}

const std::string& runtimePath()
{
    static const std::string path = stateDirectory(
        "ALARM_HOST_RUNTIME", "XDG_RUNTIME_DIR", "/tmp/" + std::to_string(getuid()));
    return path;
}

const std::string& zoneLinkPath()
{
    static const std::string named = environment("ALARM_HOST_LOCALTIME");
    static const std::string path = named.empty() ? kWatchZoneLink : named;
    return path;
}

std::string zoneId()
{
    for (const std::string& link : { zoneLinkPath(), std::string("/etc/localtime") }) {
        std::string id = zoneIdOfLink(link);
        if (!id.empty())
            return id;
    }
    return "UTC";
}

bool isZoneId(const std::string& id)
{
    if (id.empty() || id.front() == '/' || id.find("..") != std::string::npos)
        return false;
    const std::string file = kZoneData + id;
    std::error_code error;
    char magic[4] = {};
    return fs::is_regular_file(file, error) && std::ifstream(file).read(magic, sizeof magic)
        && std::string(magic, sizeof magic) == "TZif";
}

void setZoneId(const std::string& id)
{
    const std::string& link = zoneLinkPath();
    // Of its own name in each process, since several may set the zone at once.
    const std::string made = link + '.' + std::to_string(getpid());
    std::error_code error;
    fs::remove(made, error);
    fs::create_symlink(kZoneData + id, made);
    fs::rename(made, link);
}

} // namespace host
