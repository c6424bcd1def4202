#include "host/daemon/BootApplications.h"

#include "host/common/Log.h"
#include "host/common/Session.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <system_error>
#include <vector>

namespace fs = std::filesystem;

namespace host {

namespace {

const double kFirstPauseSeconds = 1;
const double kLongestPauseSeconds = 60;

bool isStartedOnBoot(const fs::path& manifest)
{
    std::ifstream lines(manifest);
    for (std::string line; std::getline(lines, line);) {
        if (line == "on-boot=true")
            return true;
    }
    return false;
}

std::vector<std::string> bootApplications()
{
    std::vector<std::string> applications;
    std::error_code error;
    for (const auto& package : fs::directory_iterator(homePath() + "ro", error)) {
        std::error_code unreadable;
        for (const auto& file : fs::directory_iterator(package.path(), unreadable)) {
            if (file.path().extension() == ".manifest" && isStartedOnBoot(file.path()))
                applications.push_back(file.path().stem());
        }
    }
    return applications;
}

} // namespace

BootApplications::BootApplications(Applications& applications)
    : _applications(applications)
{
    _applications.whenEnded([this](const std::string& application, bool wasTold) {
        if (_boots.count(application) == 0 || wasTold)
            return;
        logWarning(application + " has ended and is started again");
        _startLater(application);
    });
    for (const std::string& application : bootApplications())
        _start(application);
}

void BootApplications::_start(const std::string& application)
{
    Boot& boot = _boots[application];
    boot.wait.reset();
    boot.begun = ecore_time_get();
    const auto failed = [this, application](const std::string& reason) {
        logWarning(application + " cannot be started for now: " + reason);
        _startLater(application);
    };
    try {
        _applications.find(application, [failed](const std::string&, const sdbus::Error* error) {
            if (error)
                failed(error->getMessage());
        });
    } catch (const std::exception& error) {
        failed(error.what());
    }
}

// An application that has run for a while begins with the shortest pause again.
void BootApplications::_startLater(const std::string& application)
{
    Boot& boot = _boots[application];
    if (boot.wait)
        return;
    const bool hasRun = ecore_time_get() - boot.begun > kLongestPauseSeconds;
    boot.pause = hasRun || boot.pause == 0 ? kFirstPauseSeconds
                                           : std::min(boot.pause * 2, kLongestPauseSeconds);
    boot.wait = std::make_unique<Timer>(boot.pause, [this, application] { _start(application); });
}

} // namespace host
