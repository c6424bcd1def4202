#include "EchoFixture.h"

#include "host/common/Session.h"

#include <app_control.h>
#include <csignal>
#include <filesystem>
#include <fstream>

namespace fs = std::filesystem;

void EchoFixture::SetUp()
{
    session.installApplication(kEcho, ECHO_PROGRAM);
    session.installApplication(kOther, OTHER_PROGRAM);
}

void EchoFixture::TearDown()
{
    _endApplications();
    for (const std::string& file : _files)
        fs::remove(file);
    for (const char* application : { kEcho, kOther })
        fs::remove(host::runtimePath() + application + ".log");
}

int EchoFixture::launch(const char* application, const std::string& text, const Extras& extras)
{
    app_control_h request = nullptr;
    app_control_create(&request);
    app_control_set_operation(request, APP_CONTROL_OPERATION_DEFAULT);
    app_control_set_app_id(request, application);
    app_control_add_extra_data(request, "text", text.c_str());
    for (const auto& [key, value] : extras)
        app_control_add_extra_data(request, key.c_str(), value.c_str());
    const int code = app_control_send_launch_request(request, nullptr, nullptr);
    app_control_destroy(request);
    return code;
}

std::string EchoFixture::makeFile(const std::string& name)
{
    _files.push_back(host::runtimePath() + name);
    std::ofstream(_files.back()) << "here";
    return _files.back();
}

void EchoFixture::expectLines(const EchoLog& log, const std::string& text, int count)
{
    session.waitFor([&] { return log.count(text) >= count; });
    EXPECT_EQ(count, log.count(text)) << text;
}

void EchoFixture::expectRequests(const EchoLog& log, const std::vector<std::string>& texts)
{
    session.waitFor([&] { return log.requests().size() >= texts.size(); });
    EXPECT_EQ(texts, log.requests());
}

void EchoFixture::_endApplications()
{
    for (const char* application : { kEcho, kOther }) {
        const pid_t pid = session.pidOf(application);
        if (pid != 0) {
            kill(pid, SIGKILL);
            EXPECT_TRUE(session.waitFor([&] { return session.pidOf(application) != pid; }));
        }
    }
}
