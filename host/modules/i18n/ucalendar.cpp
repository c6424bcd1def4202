#include "Cache.h"
#include "Icu.h"

namespace {

// A calendar from the cache, which is cloned for callers and never used itself.
std::shared_ptr<UCalendar> calendarOf(const i18n::Zone& zone, const std::string& locale,
    i18n_ucalendar_type_e type, UErrorCode& status)
{
    static i18n::Cache<UCalendar> cache;
    const std::u16string key = zone.id + u'\0' + static_cast<char16_t>(type);
    return cache.get(key, locale, status, [&]() -> std::shared_ptr<UCalendar> {
        UCalendar* calendar = ucal_open(zone.idForIcu(), zone.idLength(), locale.c_str(),
            static_cast<UCalendarType>(type), &status);
        if (!calendar)
            return nullptr;
        return { calendar, i18n::Closer<ucal_close>() };
    });
}

UCalendar* newCalendar(const i18n::Zone& zone, const std::string& locale,
    i18n_ucalendar_type_e type, UErrorCode& status)
{
    const std::shared_ptr<UCalendar> model = calendarOf(zone, locale, type, status);
    if (!model)
        return nullptr;
    UCalendar* calendar = ucal_clone(model.get(), &status);
    if (calendar)
        ucal_setMillis(calendar, ucal_getNow(), &status);
    return calendar;
}

} // namespace

extern "C" int i18n_ucalendar_create(const i18n_uchar* zone_id, int32_t len, const char* locale,
    i18n_ucalendar_type_e type, i18n_ucalendar_h* calendar)
{
    return i18n::guarded([&]() -> int {
        if (!calendar || (zone_id && !i18n::isText(zone_id, len))
            || (type != I18N_UCALENDAR_TRADITIONAL && type != I18N_UCALENDAR_GREGORIAN))
            return I18N_ERROR_INVALID_PARAMETER;
        UErrorCode status = U_ZERO_ERROR;
        UCalendar* made
            = newCalendar(i18n::Zone(zone_id, len), i18n::localeName(locale), type, status);
        if (made)
            *calendar = made;
        return i18n::codeOf(status);
    });
}

extern "C" int i18n_ucalendar_destroy(i18n_ucalendar_h calendar)
{
    if (!calendar)
        return I18N_ERROR_INVALID_PARAMETER;
    ucal_close(static_cast<UCalendar*>(calendar));
    return I18N_ERROR_NONE;
}

extern "C" int i18n_ucalendar_get(
    i18n_ucalendar_h calendar, i18n_ucalendar_date_fields_e field, int32_t* val)
{
    if (!calendar || field < I18N_UCALENDAR_ERA || field > I18N_UCALENDAR_DST_OFFSET || !val)
        return I18N_ERROR_INVALID_PARAMETER;
    UErrorCode status = U_ZERO_ERROR;
    const int32_t value = ucal_get(
        static_cast<UCalendar*>(calendar), static_cast<UCalendarDateFields>(field), &status);
    if (U_SUCCESS(status))
        *val = value;
    return i18n::codeOf(status);
}

extern "C" int i18n_ucalendar_get_attribute(
    i18n_ucalendar_h calendar, i18n_ucalendar_attribute_e attr, int32_t* val)
{
    if (!calendar || attr < I18N_UCALENDAR_LENIENT
        || attr > I18N_UCALENDAR_MINIMAL_DAYS_IN_FIRST_WEEK || !val)
        return I18N_ERROR_INVALID_PARAMETER;
    *val = ucal_getAttribute(
        static_cast<UCalendar*>(calendar), static_cast<UCalendarAttribute>(attr));
    return I18N_ERROR_NONE;
}

extern "C" int i18n_ucalendar_set_date_time(i18n_ucalendar_h calendar, int32_t year, int32_t month,
    int32_t date, int32_t hour, int32_t minute, int32_t second)
{
    if (!calendar)
        return I18N_ERROR_INVALID_PARAMETER;
    UErrorCode status = U_ZERO_ERROR;
    auto* target = static_cast<UCalendar*>(calendar);
    ucal_setDateTime(target, year, month, date, hour, minute, second, &status);
    ucal_set(target, UCAL_MILLISECOND, 0);
    return i18n::codeOf(status);
}

extern "C" int i18n_ucalendar_set_milliseconds(i18n_ucalendar_h calendar, i18n_udate date_time)
{
    if (!calendar)
        return I18N_ERROR_INVALID_PARAMETER;
    UErrorCode status = U_ZERO_ERROR;
    ucal_setMillis(static_cast<UCalendar*>(calendar), date_time, &status);
    return i18n::codeOf(status);
}

extern "C" int i18n_ucalendar_get_milliseconds(i18n_ucalendar_h calendar, i18n_udate* date)
{
    if (!calendar || !date)
        return I18N_ERROR_INVALID_PARAMETER;
    UErrorCode status = U_ZERO_ERROR;
    const UDate instant = ucal_getMillis(static_cast<UCalendar*>(calendar), &status);
    if (U_SUCCESS(status))
        *date = instant;
    return i18n::codeOf(status);
}
