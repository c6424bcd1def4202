#include "HostSession.h"

#include "host/common/Bus.h"
#include "host/common/Session.h"
#include "host/common/Wire.h"

#include <chrono>
#include <com.velmora.host.Alarm-proxy.h>
#include <com.velmora.host.Tray-proxy.h>
#include <csignal>
#include <cstdlib>
#include <Ecore.h>
#include <filesystem>
#include <fstream>
#include <memory>
#include <notification.h>
#include <sstream>
#include <stdexcept>
#include <system_error>

namespace fs = std::filesystem;

namespace {

const double kLookAgainSeconds = 0.01;

// Calls the bus itself.
template <typename Result, typename... Arguments>
Result askBus(const char* method, const Arguments&... arguments)
{
    Result result{};
    sdbus::createProxy(host::bus(), host::kBusName, host::kBusPath)
        ->callMethod(method)
        .onInterface(host::kBusName)
        .withArguments(arguments...)
        .storeResultsTo(result);
    return result;
}

std::string nameOwner(const std::string& name)
{
    try {
        return askBus<std::string>("GetNameOwner", name);
    } catch (const sdbus::Error&) {
        return "";
    }
}

Eina_Bool renewCb(void*) { return ECORE_CALLBACK_RENEW; }

void replaceFile(const std::string& path, const std::string& text)
{
    std::ofstream(path + ".new") << text;
    fs::rename(path + ".new", path);
}

} // namespace

HostSession::HostSession()
{
    if (!getenv("ALARM_HOST_HOME"))
        throw std::runtime_error("This test needs a session; run it under host-session");
    installProgram(host::identity().package, host::programOfProcess(getpid()));
    host::serveBusOnLoop();
}

const std::string& HostSession::home() { return host::homePath(); }

std::string HostSession::programOf(const std::string& application)
{
    return host::programOf(application);
}

void HostSession::installProgram(const std::string& package, const std::string& executable)
{
    const std::string folder = host::homePath() + "packages/" + package + "/bin/";
    fs::create_directories(folder);
    const std::string link = folder + fs::path(executable).filename().string();
    if (!fs::exists(link))
        fs::create_symlink(executable, link);
}

void HostSession::setKey(const std::string& key, const host::SettingValue& value)
{
    host::SettingsStore::session().write("vconf", key, value);
}

std::optional<host::SettingValue> HostSession::preference(const std::string& key)
{
    return host::SettingsStore::session().read(host::identity().package, key);
}

void HostSession::setZone(const std::string& id) { host::setZoneId(id); }

std::vector<HostSession::Alarm> HostSession::alarms()
{
    std::vector<Alarm> alarms;
    for (const auto& alarm : host::DaemonProxy<com::velmora::host::Alarm_proxy>().List()) {
        const auto& time = alarm.get<4>();
        alarms.push_back({ alarm.get<0>(), alarm.get<1>(), alarm.get<2>(), alarm.get<3>(),
            time.get<0>(), time.get<1>(), time.get<2>(), alarm.get<5>() });
    }
    return alarms;
}

std::vector<HostSession::Report> HostSession::reports()
{
    std::vector<Report> reports;
    for (const auto& report : host::DaemonProxy<com::velmora::host::Tray_proxy>().Reports())
        reports.push_back({ report.get<0>(), report.get<1>() });
    return reports;
}

std::vector<HostSession::Card> HostSession::cards()
{
    host::DaemonProxy<com::velmora::host::Tray_proxy> tray;
    std::vector<Card> cards;
    for (const auto& shown : tray.Show()) {
        cards.push_back({ shown.get<0>(), shown.get<1>(), shown.get<3>(), shown.get<4>(),
            shown.get<5>(), shown.get<6>(), "" });
    }
    for (const auto& set : tray.List()) {
        for (Card& card : cards) {
            for (const auto& text : set.get<8>()) {
                if (card.application == set.get<1>() && card.tag == set.get<3>()
                    && text.get<0>() == NOTIFICATION_TEXT_TYPE_EXTENSION)
                    card.text = text.get<1>();
            }
        }
    }
    return cards;
}

pid_t HostSession::daemonPid() { return pidOf(host::kDaemonName); }

pid_t HostSession::pidOf(const std::string& name)
{
    const std::string owner = nameOwner(name);
    try {
        return owner.empty()
            ? 0
            : static_cast<pid_t>(askBus<std::uint32_t>("GetConnectionUnixProcessID", owner));
    } catch (const sdbus::Error&) {
        return 0; // gone in between
    }
}

void HostSession::killDaemon()
{
    const std::string owner = nameOwner(host::kDaemonName);
    if (owner.empty())
        return;
    const auto pid = static_cast<pid_t>(askBus<std::uint32_t>("GetConnectionUnixProcessID", owner));
    if (kill(pid, SIGKILL) != 0)
        throw std::system_error(errno, std::generic_category(), "killing the daemon");
    if (!waitFor([&owner] { return !askBus<bool>("NameHasOwner", owner); }))
        throw std::runtime_error("the daemon was killed, but its connection stays");
}

bool HostSession::waitFor(const std::function<bool()>& done, double seconds)
{
    using std::chrono::steady_clock;
    const auto end = steady_clock::now() + std::chrono::duration<double>(seconds);
    const std::unique_ptr<Ecore_Timer, void* (*)(Ecore_Timer*)> timer(
        ecore_timer_add(kLookAgainSeconds, renewCb, nullptr), ecore_timer_del);
    bool found = done();
    while (!found && steady_clock::now() < end) {
        ecore_main_loop_iterate_may_block(1);
        found = done();
    }
    return found;
}

std::string HostSession::logText()
{
    const char* path = getenv("ALARM_HOST_LOG_FILE");
    std::ostringstream text;
    if (path)
        text << std::ifstream(path).rdbuf();
    return text.str();
}

void HostSession::installApplication(const std::string& id, const std::string& executable)
{
    const std::string folder = host::homePath() + "dbus-services/";
    fs::create_directories(folder);
    replaceFile(
        folder + id + ".service", "[D-BUS Service]\nName=" + id + "\nExec=" + executable + "\n");
    sdbus::createProxy(host::bus(), host::kBusName, host::kBusPath)
        ->callMethod("ReloadConfig")
        .onInterface(host::kBusName);
}
