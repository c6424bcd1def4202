#include "UpcomingCard.h"

#include "common/Values.h"

#include <AlarmContextualManager.h>
#include <AlarmReading.h>
#include <AlarmSaving.h>
#include <AlarmTime.h>
#include <algorithm>
#include <app_preference.h>
#include <dlog.h>
#include <memory>
#include <notification.h>
#include <set>
#include <tuple>
#include <vector>

namespace {

const char* const kTag = "alarm-service";
const char* const kCardTag = "alarmUpcomingTag";
const char* const kContextKey = "contextMgrId";
const time_t kShownBefore = 3600; ///< seconds
const time_t kTryAgain = 5; ///< seconds
const time_t kAfterRing = 1; ///< seconds: the alert, which starts then, needs the processor more
const std::chrono::milliseconds kPatience{ 2000 };
const int kNoCard = -1;

std::optional<std::vector<AlarmDbData>> readAlarms()
{
    companion::AlarmReading reading(kPatience);
    auto alarms = reading.all();
    if (!alarms)
        dlog_print(DLOG_WARN, kTag, "the alarms cannot be read: %s", reading.fault().c_str());
    return alarms;
}

// The id of the card that is in the tray now, which is another one after each post; kNoCard; none
// when the tray does not tell. The library only logs what it could not do.
std::optional<int> postedCard()
{
    const std::unique_ptr<_notification, int (*)(notification_h)> card(
        notification_load_by_tag(kCardTag), notification_free);
    if (!card) {
        return get_last_result() == NOTIFICATION_ERROR_NOT_EXIST_ID ? std::optional<int>(kNoCard)
                                                                    : std::nullopt;
    }
    int group = 0;
    int id = 0;
    return notification_get_id(card.get(), &group, &id) == NOTIFICATION_ERROR_NONE
        ? std::optional<int>(id)
        : std::nullopt;
}

// The context id of the alarm whose card is posted, as the library notes it.
int notedContext()
{
    int context = kNoCard;
    (void)preference_get_int(kContextKey, &context);
    return context;
}

bool isDueSoon(const AlarmDbData& alarm, time_t now)
{
    return companion::upcomingInstant(alarm, now) - now <= kShownBefore;
}

// What makes a card another one.
auto shownFieldsOf(const AlarmDbData& alarm)
{
    return std::tie(alarm.id, alarm.contextMgrId, alarm.stime, alarm.hour, alarm.min,
        alarm.timezone, alarm.repeat_once, alarm.repeatWeekly);
}

bool hasOwnContext(const AlarmDbData& alarm, const std::vector<AlarmDbData>& alarms)
{
    return alarm.contextMgrId > 0
        && std::count_if(alarms.begin(), alarms.end(),
               [&alarm](
                   const AlarmDbData& other) { return other.contextMgrId == alarm.contextMgrId; })
        == 1;
}

// An id that no alarm has, nor the card's, whose alarm may be removed.
int freeContext(const std::vector<AlarmDbData>& alarms)
{
    std::set<int> taken = { notedContext() };
    for (const AlarmDbData& alarm : alarms)
        taken.insert(alarm.contextMgrId);
    int context = 1;
    while (taken.count(context) > 0)
        ++context;
    return context;
}

// Gives the stored alarm a context id of its own, unless it has one. Nobody else does, so what is
// read in this turn is what counts. Other processes need not hear of it.
bool giveContext(AlarmDbData& alarm)
{
    companion::AlarmSaving saving(kPatience);
    if (saving.state() != companion::Saved::Yes)
        return false;
    const auto alarms = companion::AlarmReading(kPatience).all();
    if (!alarms)
        return false;
    const auto stored = std::find_if(alarms->begin(), alarms->end(),
        [&alarm](const AlarmDbData& other) { return other.id == alarm.id; });
    if (stored == alarms->end())
        return false;
    AlarmDbData given = *stored;
    if (!hasOwnContext(given, *alarms))
        given.contextMgrId = freeContext(*alarms);
    const auto silent = companion::AlarmSaving::News::Silent;
    if (saving.replace(*stored, given, silent) != companion::Saved::Yes
        || saving.commit() != companion::Saved::Yes)
        return false;
    alarm.contextMgrId = given.contextMgrId;
    return true;
}

} // namespace

void UpcomingCard::follow()
{
    const auto alarms = readAlarms();
    const time_t now = companion::currentTime();
    if (!alarms) {
        if (_shown && _shown->stime <= now)
            (void)_hide();
        (void)_timer.wakeAt(now + kTryAgain);
        return;
    }
    const std::optional<AlarmDbData> next = companion::upcomingAlarm(*alarms, now);
    const time_t instant = next ? companion::upcomingInstant(*next, now) : 0;
    _log(next, instant);

    const bool isShown = next && instant - now <= kShownBefore;
    bool isDone = true;
    if (isShown && hasOwnContext(*next, *alarms)) {
        isDone = _show(*next, instant);
    } else if (isShown) {
        AlarmDbData given = *next;
        isDone = giveContext(given) && _show(given, instant);
    } else {
        isDone = _hide();
    }

    std::optional<time_t> wake;
    if (next)
        wake = isShown ? instant + kAfterRing : instant - kShownBefore;
    if (!isDone)
        wake = std::min(now + kTryAgain, wake.value_or(now + kTryAgain));
    (void)_timer.wakeAt(wake);
}

void UpcomingCard::renew()
{
    _isStale = true;
    follow();
}

bool UpcomingCard::withdraw()
{
    AlarmContextualManager::getInstance().deleteUpcomingNoti();
    return postedCard() == kNoCard;
}

std::string UpcomingCard::turnOff(const std::string& alarmId)
{
    const int id = rowIdIn(alarmId);
    if (id == 0)
        return "the alarm to turn off has no row id";
    std::string refusal;
    const auto edit = [&refusal](AlarmDbData& alarm, time_t now) {
        if (alarm.contextMgrId <= 0 || alarm.contextMgrId != notedContext()) {
            refusal = "has no card";
        } else if (!alarm.enable || !isDueSoon(alarm, now)) {
            refusal = "is off, or has rung meanwhile";
        } else {
            alarm.enable = 0;
            companion::setSwitchedRing(alarm, now);
        }
        return refusal.empty();
    };
    companion::Saved saved = companion::Saved::Yes;
    {
        companion::AlarmSaving saving(kPatience);
        AlarmDbData alarm;
        saved = saving.change(id, edit, alarm);
        if (refusal.empty() && saved == companion::Saved::Yes)
            saved = saving.commit();
    }
    const std::string name = "alarm " + std::to_string(id) + " ";
    if (!refusal.empty())
        return name + refusal;
    if (saved != companion::Saved::Yes)
        return name + "is not turned off: " + companion::textOf(saved);
    dlog_print(DLOG_INFO, kTag, "%sis turned off from its card", name.c_str());
    follow();
    return "";
}

bool UpcomingCard::_show(AlarmDbData alarm, time_t instant)
{
    // The card shows when the alarm rings next: the record of a weekly or snoozed one has another
    // time.
    const companion::WallTime wall = companion::wallTime(instant);
    alarm.stime = static_cast<int>(instant);
    alarm.timezone = companion::deviceZone();
    alarm.hour = wall.hour;
    alarm.min = wall.minute;
    if (!_isStale && _shown && shownFieldsOf(*_shown) == shownFieldsOf(alarm))
        return true;
    const std::optional<int> before = postedCard();
    if (!before)
        return false;
    _isStale = true;
    _isHidden = false;
    AlarmContextualManager::getInstance().postUpcomingAlarm(alarm);
    const std::optional<int> posted = postedCard();
    if (!posted || posted == before || notedContext() != alarm.contextMgrId)
        return false;
    dlog_print(DLOG_INFO, kTag, "the card of alarm %d is posted", alarm.id);
    _shown = alarm;
    _isStale = false;
    return true;
}

bool UpcomingCard::_hide()
{
    if (_isHidden)
        return true;
    std::optional<int> card = postedCard();
    if (card && card != kNoCard) {
        _isStale = true;
        AlarmContextualManager::getInstance().deleteUpcomingNoti();
        card = postedCard();
    }
    _isHidden = card == kNoCard;
    if (_isHidden && _shown)
        dlog_print(DLOG_INFO, kTag, "the card is deleted");
    if (_isHidden)
        _shown.reset();
    return _isHidden;
}

void UpcomingCard::_log(const std::optional<AlarmDbData>& alarm, time_t instant)
{
    std::string line = "no upcoming alarm";
    if (alarm) {
        const tm local = companion::localTime(instant);
        char text[sizeof "2026-01-01 00:00:00"];
        strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &local);
        line = "upcoming alarm " + std::to_string(alarm->id) + " at " + text;
    }
    if (line != _logged)
        dlog_print(DLOG_INFO, kTag, "%s", line.c_str());
    _logged = line;
}
