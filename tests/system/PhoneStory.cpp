#include "PhoneStory.h"

#include <algorithm>
#include <csignal>
#include <sstream>

CommandResult PhoneStory::tryPhone(std::vector<std::string> arguments)
{
    arguments.insert(arguments.begin(), "phone");
    return runCommand(arguments);
}

std::string PhoneStory::phone(const std::vector<std::string>& arguments)
{
    const CommandResult result = tryPhone(arguments);
    EXPECT_EQ(0, result.status) << result.err;
    EXPECT_EQ("", result.err);
    return result.out;
}

void PhoneStory::connectPhone()
{
    phone({ "pair" });
    phone({ "connect" });
}

std::vector<std::string> PhoneStory::alarmsOnPhone()
{
    std::istringstream list(phone({ "list" }));
    std::vector<std::string> alarms;
    for (std::string line; std::getline(list, line);) {
        if (line != "no alarms")
            alarms.push_back(line.substr(line.find("  ") + 2));
    }
    std::sort(alarms.begin(), alarms.end());
    return alarms;
}

std::vector<std::string> PhoneStory::alarmsOnWatch()
{
    std::istringstream list(store->query(
        "SELECT group_concat(json_extract(value, '$.time') || '  ' || json_extract(value, '$.days')"
        " || '  ' || CASE json_extract(value, '$.enabled') WHEN 1 THEN 'on' ELSE 'off' END || '  '"
        " || json_extract(value, '$.name'), char(10))"
        " FROM json_each(?) WHERE json_extract(value, '$.device') = 'phone'",
        alarmOutput({ "list", "--json" })));
    std::vector<std::string> alarms;
    for (std::string line; std::getline(list, line);) {
        if (line != "null")
            alarms.push_back(line);
    }
    std::sort(alarms.begin(), alarms.end());
    return alarms;
}

void PhoneStory::expectSame()
{
    session.waitFor([this] {
        return alarmsOnPhone() == alarmsOnWatch()
            && store->query("SELECT count(*) FROM alarm WHERE isNeedToSync = 1") == "0";
    });
    EXPECT_EQ(alarmsOnPhone(), alarmsOnWatch());
    EXPECT_EQ("", store->query("SELECT name FROM alarm WHERE isNeedToSync = 1"));
    EXPECT_EQ("",
        store->query("SELECT uuid FROM alarm WHERE deviceType = 1 GROUP BY uuid"
                     " HAVING count(*) > 1"));
}

std::string PhoneStory::registered()
{
    std::string names;
    for (const HostSession::Alarm& alarm : session.alarms()) {
        const std::string name
            = store->query("SELECT name FROM alarm WHERE deviceType = 1 AND alarm_mgr_id = ?",
                std::to_string(alarm.id));
        if (!name.empty())
            names += (names.empty() ? "" : ",") + name;
    }
    return names;
}

bool PhoneStory::waitUntilRegistered(const std::string& names)
{
    return session.waitFor([&] { return registered() == names; });
}

int PhoneStory::idOf(const std::string& name)
{
    const std::string id = store->query("SELECT id FROM alarm WHERE name = ?", name);
    return id.empty() ? -1 : std::stoi(id);
}

void PhoneStory::killService()
{
    const pid_t service = session.pidOf("com.velmora.alarm-service");
    if (service != 0)
        kill(service, SIGKILL);
}
