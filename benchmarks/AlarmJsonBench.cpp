#include "AlarmDbModel.h"
#include "AlarmDouble.h"
#include "AlarmJsonBuilder.h"
#include "AlarmJsonParser.h"
#include "AlarmSyncUtil.h"
#include "AppCommonDouble.h"
#include "JsonText.h"
#include "QuickWrites.h"
#include "StoreFile.h"
#include "VconfDouble.h"

#include <benchmark/benchmark.h>
#include <dlog.h>
#include <json-glib/json-glib.h>
#include <optional>

// Messages with phone alarms: built and read by the library and by JSON-GLib directly, and applied
// to the store.

// The platform's log is switched off.
int dlog_print(log_priority /*prio*/, const char* /*tag*/, const char* /*fmt*/, ...) { return 0; }

namespace {
const int kListed = 1000;

std::vector<AlarmDbData> typicalAlarms(int count)
{
    std::vector<AlarmDbData> alarms(static_cast<size_t>(count));
    for (int i = 0; i < count; ++i) {
        AlarmDbData& alarm = alarms[static_cast<size_t>(i)];
        alarm.uuid = std::to_string(1000 + i);
        alarm.name = "Morning run number " + std::to_string(i);
        alarm.hour = i % 24;
        alarm.min = i % 60;
        alarm.enable = 1;
        alarm.repeat_once = 0;
        alarm.repeatWeekly = i % 128;
        alarm.mobileAlertTime = 1600000000000 + static_cast<unsigned long long>(i) * 60000;
        alarm.mobileCreateTime = 1599999999000;
        alarm.mobileModifiedTime = 1599999999500;
    }
    return alarms;
}

int phoneRepeat(const AlarmDbData& alarm)
{
    int value = alarm.repeat_once != 0 ? 1 : 5;
    for (int day = 0; day < 7; ++day)
        value |= ((alarm.repeatWeekly >> day) & 1) << (28 - 4 * day);
    return value;
}

void takePhoneRepeat(int value, AlarmDbData& alarm)
{
    alarm.repeat_once = value % 16 == 1 ? 1 : 0;
    alarm.repeatWeekly = 0;
    for (int day = 0; day < 7; ++day)
        alarm.repeatWeekly |= ((value >> (28 - 4 * day)) & 15) > 0 ? 1 << day : 0;
}

std::string builtByLibrary(std::vector<AlarmDbData>& alarms)
{
    AlarmJsonBuilder builder;
    builder.setMessageType(AlarmMessage::AlarmListRsp);
    builder.addAlarmList(alarms);
    std::string text;
    builder.getJsonMessage(text);
    return text;
}

std::string builtByJsonGlib(const std::vector<AlarmDbData>& alarms)
{
    JsonArray* list = json_array_new();
    for (const AlarmDbData& alarm : alarms) {
        JsonObject* object = json_object_new();
        json_object_set_string_member(object, "uuid", alarm.uuid.c_str());
        json_object_set_string_member(object, "title", alarm.name.c_str());
        json_object_set_int_member(object, "alarm_time", alarm.hour * 100 + alarm.min);
        json_object_set_int_member(object, "alerttime", static_cast<gint64>(alarm.mobileAlertTime));
        json_object_set_int_member(
            object, "created_time", static_cast<gint64>(alarm.mobileCreateTime));
        json_object_set_int_member(
            object, "modified_time", static_cast<gint64>(alarm.mobileModifiedTime));
        json_object_set_boolean_member(object, "enable", alarm.enable != 0 ? TRUE : FALSE);
        json_object_set_int_member(object, "repeat_type", phoneRepeat(alarm));
        json_object_set_boolean_member(object, "is_deleted", alarm.isDeleted ? TRUE : FALSE);
        json_array_add_object_element(list, object);
    }
    JsonObject* message = json_object_new();
    json_object_set_string_member(message, "msgId", "alarm-list-rsp");
    json_object_set_array_member(message, "list", list);
    return jsonText(message);
}

std::vector<AlarmDbData> readByLibrary(const std::string& message)
{
    AlarmJsonParser parser(message);
    std::vector<AlarmDbData> alarms;
    parser.getAlarmList(alarms);
    return alarms;
}

gint64 number(JsonObject* object, const char* name)
{
    return json_object_has_member(object, name) != FALSE ? json_object_get_int_member(object, name)
                                                         : 0;
}

std::string text(JsonObject* object, const char* name)
{
    return json_object_has_member(object, name) != FALSE
        ? json_object_get_string_member(object, name)
        : "";
}

bool flag(JsonObject* object, const char* name)
{
    return json_object_has_member(object, name) != FALSE
        && json_object_get_boolean_member(object, name) != FALSE;
}

std::vector<AlarmDbData> readByJsonGlib(const std::string& message)
{
    JsonParser* parser = json_parser_new();
    json_parser_load_from_data(
        parser, message.data(), static_cast<gssize>(message.size()), nullptr);
    JsonObject* root = json_node_get_object(json_parser_get_root(parser));
    JsonArray* list = json_object_get_array_member(root, "list");
    std::vector<AlarmDbData> alarms;
    for (guint i = 0; i < json_array_get_length(list); ++i) {
        JsonObject* object = json_array_get_object_element(list, i);
        AlarmDbData& alarm = alarms.emplace_back();
        alarm.uuid = text(object, "uuid");
        alarm.name = text(object, "title");
        const int time = static_cast<int>(number(object, "alarm_time"));
        alarm.hour = time / 100;
        alarm.min = time % 100;
        alarm.mobileCreateTime = static_cast<unsigned long long>(number(object, "created_time"));
        alarm.mobileModifiedTime = static_cast<unsigned long long>(number(object, "modified_time"));
        alarm.mobileAlertTime = static_cast<unsigned long long>(number(object, "alerttime"));
        alarm.enable = flag(object, "enable") ? 1 : 0;
        takePhoneRepeat(static_cast<int>(number(object, "repeat_type")), alarm);
        alarm.isDeleted = flag(object, "is_deleted");
    }
    g_object_unref(parser);
    return alarms;
}

template <typename Build>
void build(benchmark::State& state, int count, Build built)
{
    std::vector<AlarmDbData> alarms = typicalAlarms(count);
    const std::string expected = builtByLibrary(alarms);
    for ([[maybe_unused]] auto _ : state) {
        if (built(alarms) != expected)
            state.SkipWithError("the messages differ");
    }
    state.SetItemsProcessed(state.iterations() * count);
}

template <typename Read>
void parse(benchmark::State& state, int count, Read read)
{
    std::vector<AlarmDbData> alarms = typicalAlarms(count);
    const std::string message = builtByLibrary(alarms);
    const AlarmDbData& last = alarms.back();
    for ([[maybe_unused]] auto _ : state) {
        const std::vector<AlarmDbData> again = read(message);
        if (again.size() != alarms.size() || again.back().name != last.name
            || again.back().repeatWeekly != last.repeatWeekly
            || again.back().mobileAlertTime != last.mobileAlertTime)
            state.SkipWithError("the alarms differ");
    }
    state.SetItemsProcessed(state.iterations() * count);
}

int countOf(const benchmark::State& state) { return static_cast<int>(state.range(0)); }

// The phone's list replaces the watch's copy, and its alarms are registered.
void apply(const std::string& message)
{
    AlarmSyncUtil::removeMobileAlarmData();
    {
        AlarmDbModel store;
        for (AlarmDbData& alarm : readByLibrary(message)) {
            alarm.deviceType = 1;
            store.insertAlarmData(alarm, true, true);
        }
    }
    AlarmSyncUtil::registerMobileAlarm();
}

void applyAlarms(benchmark::State& state, bool quick)
{
    const int count = countOf(state);
    std::vector<AlarmDbData> alarms = typicalAlarms(count);
    const std::string message = builtByLibrary(alarms);
    std::optional<QuickWrites> writes;
    if (quick)
        writes.emplace();
    vconfDouble().texts["db/wms/host_status/vendor"] = "velmora";
    for ([[maybe_unused]] auto _ : state) {
        state.PauseTiming();
        {
            alarmDouble() = {};
            const StoreFile file;
            appCommonDouble().dataPath = file.folder();
            const AlarmDbModel made;
            state.ResumeTiming();
            apply(message);
            state.PauseTiming();
            if (alarmDouble().scheduled.size() != alarms.size())
                state.SkipWithError("not every alarm was registered");
        }
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * count);
}

void lengths(benchmark::internal::Benchmark* bench)
{
    bench->Arg(100)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond);
}

void buildByLibrary(benchmark::State& state) { build(state, kListed, builtByLibrary); }
void buildByJsonGlib(benchmark::State& state) { build(state, kListed, builtByJsonGlib); }
void parseByLibrary(benchmark::State& state) { parse(state, kListed, readByLibrary); }
void parseByJsonGlib(benchmark::State& state) { parse(state, kListed, readByJsonGlib); }
void buildMany(benchmark::State& state) { build(state, countOf(state), builtByLibrary); }
void buildManyPlain(benchmark::State& state) { build(state, countOf(state), builtByJsonGlib); }
void parseMany(benchmark::State& state) { parse(state, countOf(state), readByLibrary); }
void parseManyPlain(benchmark::State& state) { parse(state, countOf(state), readByJsonGlib); }
void applyToMemory(benchmark::State& state) { applyAlarms(state, true); }
void applyToDisk(benchmark::State& state) { applyAlarms(state, false); }

BENCHMARK(buildByLibrary)->Name("build/library")->Unit(benchmark::kMicrosecond);
BENCHMARK(buildByJsonGlib)->Name("build/json-glib")->Unit(benchmark::kMicrosecond);
BENCHMARK(parseByLibrary)->Name("parse/library")->Unit(benchmark::kMicrosecond);
BENCHMARK(parseByJsonGlib)->Name("parse/json-glib")->Unit(benchmark::kMicrosecond);
BENCHMARK(buildMany)->Name("build-many/library")->Apply(lengths)->Arg(100000);
BENCHMARK(buildManyPlain)->Name("build-many/json-glib")->Apply(lengths)->Arg(100000);
BENCHMARK(parseMany)->Name("parse-many/library")->Apply(lengths)->Arg(100000);
BENCHMARK(parseManyPlain)->Name("parse-many/json-glib")->Apply(lengths)->Arg(100000);
BENCHMARK(applyToMemory)->Name("apply")->Apply(lengths);
BENCHMARK(applyToDisk)->Name("apply-to-disk")->Arg(1000)->Unit(benchmark::kMillisecond);
} // namespace

BENCHMARK_MAIN();
