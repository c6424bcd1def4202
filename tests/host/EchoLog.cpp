#include "EchoLog.h"

#include "host/common/Session.h"

#include <fstream>

EchoLog::EchoLog(const std::string& application)
    : _path(host::runtimePath() + application + ".log")
{
}

std::vector<EchoLog::Line> EchoLog::lines() const
{
    std::vector<Line> lines;
    std::ifstream file(_path);
    for (std::string line; std::getline(file, line);) {
        const size_t space = line.find(' ');
        lines.push_back({ std::stoi(line.substr(0, space)), line.substr(space + 1) });
    }
    return lines;
}

int EchoLog::count(const std::string& text) const { return static_cast<int>(pids(text).size()); }

std::vector<int> EchoLog::pids(const std::string& text) const
{
    std::vector<int> pids;
    for (const Line& line : lines()) {
        if (line.text == text)
            pids.push_back(line.pid);
    }
    return pids;
}

std::vector<std::string> EchoLog::requests() const
{
    std::vector<std::string> requests;
    for (const Line& line : lines()) {
        if (line.text.compare(0, 8, "request ") == 0)
            requests.push_back(line.text.substr(line.text.rfind(' ') + 1));
    }
    return requests;
}
