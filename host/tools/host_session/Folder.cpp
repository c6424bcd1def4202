#include "host/tools/host_session/Folder.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <system_error>
#include <unistd.h>

namespace fs = std::filesystem;

namespace session {

namespace {

const std::string kZoneData = "/usr/share/zoneinfo/";

[[noreturn]] void fail(int error, const std::string& what)
{
    throw std::system_error(error, std::generic_category(), what);
}

std::string environment(const char* name, const std::string& otherwise)
{
    const char* value = getenv(name);
    return value && *value ? value : otherwise;
}

void makeFolder(const std::string& path)
{
    std::error_code error;
    fs::create_directories(path, error);
    if (error)
        fail(error.value(), path);
}

// Makes a link; replaces one that exists.
void makeLink(const std::string& target, const std::string& link)
{
    std::error_code error;
    if (fs::is_symlink(link, error))
        fs::remove(link, error);
    fs::create_symlink(target, link, error);
    if (error)
        fail(error.value(), link);
}

// The data file of the zone that TZ names, else of the machine's zone.
std::string zoneFile()
{
    std::string zone = environment("TZ", "/etc/localtime");
    if (zone.front() == ':')
        zone.erase(0, 1);
    std::error_code error;
    if (fs::is_symlink(zone, error))
        zone = fs::read_symlink(zone, error);
    const std::string folder = "/zoneinfo/";
    const auto at = zone.rfind(folder);
    if (at != std::string::npos)
        zone.erase(0, at + folder.size());
    return kZoneData + (fs::is_regular_file(kZoneData + zone, error) ? zone : "UTC");
}

} // namespace

Folder::Folder()
    : _path(environment("TMPDIR", "/tmp") + "/alarm-session.XXXXXX")
    , _build(fs::read_symlink("/proc/self/exe").parent_path().parent_path())
{
    if (!mkdtemp(_path.data()))
        fail(errno, _path);
    _path = fs::absolute(_path);
}

Folder::Folder(const std::string& keep)
    : Folder()
{
    _home = keep.empty() ? file("home") : fs::absolute(keep).string();
    _makeState();
    for (const char* folder : { "runtime", "sound", "xdg" })
        makeFolder(file(folder));
    makeLink(zoneFile(), file("localtime"));
    _writeBusConfig();
    _openLog();
}

Folder::~Folder()
{
    if (_log >= 0)
        close(_log);
    std::error_code error;
    fs::remove_all(_path, error);
}

void Folder::exportPaths() const
{
    const auto set
        = [](const char* name, const std::string& value) { setenv(name, value.c_str(), 1); };
    set("ALARM_HOST_HOME", _home);
    set("ALARM_HOST_RUNTIME", file("runtime"));
    set("ALARM_HOST_LOCALTIME", file("localtime"));
    set("ALARM_HOST_LOG_FILE", _home + "/log");
    set("TZ", ":" + file("localtime"));
    set("XDG_RUNTIME_DIR", file("xdg"));
    set("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + file("bus"));
    set("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=" + file("no-system-bus"));
    set("PATH", _build + "/bin:" + environment("PATH", "/usr/bin:/bin"));
}

int Folder::makeSocket(const std::string& name) const
{
    const std::string path = file(name);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path)
        fail(ENAMETOOLONG, path);
    memcpy(address.sun_path, path.c_str(), path.size());
    const int made = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (made < 0 || bind(made, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
        fail(errno, path);
    return made;
}

std::string Folder::logText() const
{
    std::ifstream file(_home + "/log");
    file.seekg(_logBegin);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

void Folder::_makeState() const
{
    makeFolder(_home + "/dbus-services");
    makeLink(_build + "/ro", _home + "/ro");
    makeLink(_build + "/ringtones", _home + "/ringtones");
}

void Folder::_writeBusConfig() const
{
    // "systemd:" makes the bus listen on the socket that it inherits.
    std::ofstream config(file("bus.conf"));
    config << R"(<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>systemd:</listen>
  <auth>EXTERNAL</auth>
  <servicedir>)"
           << _home << R"(/dbus-services</servicedir>
  <servicedir>)"
           << _build << R"(/dbus-services</servicedir>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
  <limit name="max_completed_connections">100000</limit>
  <limit name="max_connections_per_user">100000</limit>
  <limit name="max_match_rules_per_connection">50000</limit>
  <limit name="max_pending_service_starts">10000</limit>
  <limit name="max_replies_per_connection">50000</limit>
</busconfig>
)";
    if (!config.flush())
        fail(errno, file("bus.conf"));
}

void Folder::_openLog()
{
    const std::string path = _home + "/log";
    const mode_t mode = 0600;
    _log = open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_NOFOLLOW | O_CLOEXEC, mode);
    if (_log < 0 || fchmod(_log, mode) != 0)
        fail(errno, path);
    _logBegin = lseek(_log, 0, SEEK_END);
}

} // namespace session
