#pragma once

#include "host/common/Log.h"
#include "host/daemon/AlarmSchedule.h"

#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <memory>

const int kEveryDay = 127;
const char* const kPackage = "com.velmora.alarm";
const char* const kTarget = "com.velmora.alarm-alert";

inline std::vector<std::string> logLines;

inline cctz::time_zone zoneNamed(const std::string& name)
{
    cctz::time_zone zone;
    EXPECT_TRUE(cctz::load_time_zone(name, &zone)) << name;
    return zone;
}

inline host::Entries requestFor(const std::string& application)
{
    return { { host::kOperationKey, "ring" }, { host::kApplicationIdKey, application } };
}

/// A schedule on a file of its own, whose clock, zone and launches are the test's.
class AlarmScheduleFixture : public testing::Test {
protected:
    AlarmScheduleFixture()
    {
        logLines.clear();
        host::setLogHook([](int, const char*, const char* text) { logLines.push_back(text); });
        // In memory where that can be: thousands of commits would wait for a busy disk for minutes.
        namespace fs = std::filesystem;
        const fs::path memory = "/dev/shm";
        const fs::path base = fs::is_directory(memory) ? memory : fs::temp_directory_path();
        std::string folder = (base / "AlarmSchedule.XXXXXX").string();
        EXPECT_NE(nullptr, mkdtemp(folder.data()));
        _folder = folder;
        setClock("2026-11-20 12:00:00"); // a Friday
        open();
    }

    ~AlarmScheduleFixture() override
    {
        close();
        std::filesystem::remove_all(_folder);
        host::setLogHook(nullptr);
    }

    std::string path() const { return _folder + "/alarms.db"; }
    std::string trayPath() const { return _folder + "/notifications.db"; }
    host::AlarmSchedule& schedule() { return *_schedule; }

    void close()
    {
        _schedule.reset();
        tray.reset();
    }

    // A new daemon on the same file. The old one knew nothing of its end.
    void open()
    {
        close();
        launches.clear();
        tray.emplace(trayPath());
        _schedule = std::make_unique<host::AlarmSchedule>(
            path(), host::Clock{ [this] { return clock; }, [this] { return _elapsed; } }, zone,
            [this](const host::Launch& launch) {
                launches.push_back(launch);
                if (whenLaunched)
                    whenLaunched();
            },
            host::IdMark{ [this] { return idMark; }, [this](int mark) { idMark = mark; } }, *tray);
    }

    std::int64_t at(const std::string& local) const
    {
        cctz::time_point<cctz::seconds> instant;
        EXPECT_TRUE(cctz::parse("%Y-%m-%d %H:%M:%S", local, zone, &instant)) << local;
        return instant.time_since_epoch().count();
    }

    void setClock(const std::string& local) { clock = at(local); }

    // Time goes by, as opposed to a clock that is set.
    void pass(std::int64_t seconds)
    {
        clock += seconds;
        _elapsed += seconds;
    }
    void passUntil(const std::string& local) { pass(at(local) - clock); }

    void clockChanged()
    {
        schedule().clockChanged(zone);
        next = schedule().launchDue();
    }

    void runDue() { next = schedule().launchDue(); }

    // Takes one launch after the other and delivers it.
    int deliverAll()
    {
        int count = 0;
        while (!launches.empty()) {
            const std::vector<host::Launch> sent = std::move(launches);
            launches.clear();
            for (const host::Launch& launch : sent) {
                schedule().answered(launch.id, host::LaunchResult::Delivered, "");
                ++count;
            }
            runDue();
        }
        return count;
    }

    int ringAt(int hour, int minute, int weekSet)
    {
        return schedule().schedule(kPackage, requestFor(kTarget), { hour, minute, 0, weekSet, {} });
    }

    std::vector<std::string> trayTexts()
    {
        std::vector<std::string> texts;
        for (const host::Report& report : tray->reports())
            texts.push_back(report.text);
        return texts;
    }

    cctz::time_zone zone = zoneNamed("Europe/Berlin");
    std::int64_t clock = 0;
    std::vector<host::Launch> launches;
    std::function<void()> whenLaunched;
    std::optional<std::int64_t> next;
    int idMark = 0;
    std::optional<host::TrayStore> tray;

private:
    std::string _folder;
    std::int64_t _elapsed = 5000;
    std::unique_ptr<host::AlarmSchedule> _schedule;
};
