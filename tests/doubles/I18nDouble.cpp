#include "I18nDouble.h"

#include <algorithm>
#include <cstring>
#include <glib.h>

namespace {

int32_t lengthOf(const i18n_uchar* text, int32_t limit)
{
    int32_t length = 0;
    while ((limit < 0 || length < limit) && text[length] != 0)
        ++length;
    return length;
}

std::string utf8Of(const i18n_uchar* text, int32_t limit)
{
    char* made = g_utf16_to_utf8(text, lengthOf(text, limit), nullptr, nullptr, nullptr);
    std::string result = made ? made : "";
    g_free(made);
    return result;
}

std::basic_string<i18n_uchar> unitsOf(const std::string& text)
{
    glong length = 0;
    gunichar2* made = g_utf8_to_utf16(text.c_str(), -1, nullptr, &length, nullptr);
    std::basic_string<i18n_uchar> units(made, static_cast<size_t>(length));
    g_free(made);
    return units;
}

// As the platform: nothing of a text that does not fit, and its end when there is room.
int32_t write(const std::string& text, i18n_uchar* out, int32_t capacity)
{
    const std::basic_string<i18n_uchar> units = unitsOf(text);
    const auto length = static_cast<int32_t>(units.size());
    if (length <= capacity)
        std::copy_n(units.c_str(), std::min(length + 1, capacity), out);
    return length;
}

int make(int code, const I18nHandle& handle, void** out)
{
    I18nDouble& state = i18nDouble();
    if (code != I18N_ERROR_NONE)
        return code;
    state.made.push_back(handle);
    state.alive.push_back(std::make_unique<I18nHandle>(handle));
    *out = state.alive.back().get();
    return code;
}

const I18nHandle* find(void* handle, I18nHandle::Kind kind)
{
    for (const auto& alive : i18nDouble().alive) {
        if (alive.get() == handle && alive->kind == kind)
            return alive.get();
    }
    return nullptr;
}

int destroy(void* handle, I18nHandle::Kind kind)
{
    I18nDouble& state = i18nDouble();
    if (!find(handle, kind)) {
        ++state.wronglyDestroyed;
        return I18N_ERROR_INVALID_PARAMETER;
    }
    state.alive.erase(std::find_if(state.alive.begin(), state.alive.end(),
        [handle](const auto& alive) { return alive.get() == handle; }));
    return I18N_ERROR_NONE;
}

std::string textOr(const char* text) { return text ? text : "(default)"; }

std::optional<std::string> zoneOf(const i18n_uchar* zone, int32_t length)
{
    if (!zone)
        return std::nullopt;
    return utf8Of(zone, length);
}

std::string answerOf(const std::map<std::string, std::string>& answers, const std::string& asked)
{
    const auto found = answers.find(asked);
    return found == answers.end() ? "" : found->second;
}

} // namespace

const I18nHandle* I18nDouble::lastOf(I18nHandle::Kind kind) const
{
    const auto found = std::find_if(made.rbegin(), made.rend(),
        [kind](const I18nHandle& handle) { return handle.kind == kind; });
    return found == made.rend() ? nullptr : &*found;
}

I18nDouble& i18nDouble()
{
    static I18nDouble instance;
    return instance;
}

int i18n_ulocale_set_default(const char* locale_id)
{
    if (i18nDouble().setDefaultCode == I18N_ERROR_NONE)
        i18nDouble().defaultLocale = locale_id;
    return i18nDouble().setDefaultCode;
}

int i18n_ulocale_get_default(const char** locale)
{
    const I18nDouble& state = i18nDouble();
    if (state.getDefaultCode == I18N_ERROR_NONE)
        *locale = state.loseDefaultLocale ? nullptr : state.defaultLocale.c_str();
    return state.getDefaultCode;
}

i18n_uchar* i18n_ustring_copy_ua_n(i18n_uchar* dest, const char* src, int32_t n)
{
    const std::basic_string<i18n_uchar> units = unitsOf(src);
    std::copy_n(units.c_str(), std::min(static_cast<int32_t>(units.size()) + 1, n), dest);
    return dest;
}

char* i18n_ustring_copy_au_n(char* dest, const i18n_uchar* src, int32_t n)
{
    const std::string text = utf8Of(src, -1);
    auto size = std::min(text.size(), static_cast<size_t>(n));
    while (size > 0 && size < text.size() && (static_cast<unsigned char>(text[size]) >> 6U) == 2)
        --size;
    memcpy(dest, text.data(), size);
    if (size < static_cast<size_t>(n))
        dest[size] = '\0';
    return dest;
}

int i18n_ucalendar_create(const i18n_uchar* zone_id, int32_t len, const char* locale,
    i18n_ucalendar_type_e type, i18n_ucalendar_h* calendar)
{
    return make(i18nDouble().calendarCode,
        { I18nHandle::Kind::Calendar, textOr(locale), zoneOf(zone_id, len), "", type }, calendar);
}

int i18n_ucalendar_destroy(i18n_ucalendar_h calendar)
{
    return destroy(calendar, I18nHandle::Kind::Calendar);
}

int i18n_ucalendar_get(i18n_ucalendar_h calendar, i18n_ucalendar_date_fields_e field, int32_t* val)
{
    if (!find(calendar, I18nHandle::Kind::Calendar))
        return I18N_ERROR_INVALID_PARAMETER;
    i18nDouble().fieldsRead.push_back(field);
    *val = i18nDouble().fields[field];
    return I18N_ERROR_NONE;
}

int i18n_ucalendar_get_attribute(
    i18n_ucalendar_h calendar, i18n_ucalendar_attribute_e attr, int32_t* val)
{
    if (!find(calendar, I18nHandle::Kind::Calendar) || attr != I18N_UCALENDAR_FIRST_DAY_OF_WEEK)
        return I18N_ERROR_INVALID_PARAMETER;
    if (i18nDouble().attributeCode == I18N_ERROR_NONE)
        *val = i18nDouble().firstDay;
    return i18nDouble().attributeCode;
}

int i18n_ucalendar_set_date_time(i18n_ucalendar_h calendar, int32_t year, int32_t month,
    int32_t date, int32_t hour, int32_t minute, int32_t second)
{
    if (!find(calendar, I18nHandle::Kind::Calendar))
        return I18N_ERROR_INVALID_PARAMETER;
    i18nDouble().setDateTimes.push_back({ year, month, date, hour, minute, second });
    return I18N_ERROR_NONE;
}

int i18n_ucalendar_set_milliseconds(i18n_ucalendar_h calendar, i18n_udate date_time)
{
    if (!find(calendar, I18nHandle::Kind::Calendar))
        return I18N_ERROR_INVALID_PARAMETER;
    i18nDouble().setMilliseconds.push_back(date_time);
    return I18N_ERROR_NONE;
}

int i18n_ucalendar_get_milliseconds(i18n_ucalendar_h calendar, i18n_udate* date)
{
    if (!find(calendar, I18nHandle::Kind::Calendar))
        return I18N_ERROR_INVALID_PARAMETER;
    *date = i18nDouble().calendarMilliseconds;
    return I18N_ERROR_NONE;
}

int i18n_udatepg_create(const char* locale, i18n_udatepg_h* dtpg)
{
    return make(i18nDouble().generatorCode,
        { I18nHandle::Kind::Generator, textOr(locale), std::nullopt, "", 0 }, dtpg);
}

int i18n_udatepg_destroy(i18n_udatepg_h dtpg) { return destroy(dtpg, I18nHandle::Kind::Generator); }

int i18n_udatepg_get_best_pattern(i18n_udatepg_h dtpg, const i18n_uchar* skeleton, int32_t len,
    i18n_uchar* best_pattern, int32_t capacity, int32_t* best_pattern_len)
{
    if (!find(dtpg, I18nHandle::Kind::Generator))
        return I18N_ERROR_INVALID_PARAMETER;
    const std::string asked = utf8Of(skeleton, len);
    i18nDouble().skeletons.push_back(asked);
    if (i18nDouble().bestPatternCode != I18N_ERROR_NONE)
        return i18nDouble().bestPatternCode;
    const int32_t length = write(answerOf(i18nDouble().patterns, asked), best_pattern, capacity);
    if (length > capacity)
        return I18N_ERROR_BUFFER_OVERFLOW;
    *best_pattern_len = length;
    return I18N_ERROR_NONE;
}

int i18n_udate_create(i18n_udate_format_style_e time_style, i18n_udate_format_style_e date_style,
    const char* locale, const i18n_uchar* zone_id, int32_t zone_id_len, const i18n_uchar* pattern,
    int32_t pattern_len, i18n_udate_format_h* format)
{
    if (time_style != I18N_UDATE_PATTERN || date_style != I18N_UDATE_PATTERN)
        return I18N_ERROR_INVALID_PARAMETER;
    return make(i18nDouble().formatCode,
        { I18nHandle::Kind::Format, textOr(locale), zoneOf(zone_id, zone_id_len),
            utf8Of(pattern, pattern_len), 0 },
        format);
}

int i18n_udate_destroy(i18n_udate_format_h format)
{
    return destroy(format, I18nHandle::Kind::Format);
}

int i18n_udate_format_date(i18n_udate_format_h format, i18n_udate date_to_format,
    i18n_uchar* result, int32_t result_len, i18n_ufield_position_s*, int32_t* buf_size_needed)
{
    const I18nHandle* handle = find(format, I18nHandle::Kind::Format);
    if (!handle)
        return I18N_ERROR_INVALID_PARAMETER;
    i18nDouble().formattedAt.push_back(date_to_format);
    if (i18nDouble().formatDateCode != I18N_ERROR_NONE)
        return i18nDouble().formatDateCode;
    *buf_size_needed = write(answerOf(i18nDouble().texts, handle->pattern), result, result_len);
    return *buf_size_needed > result_len ? I18N_ERROR_BUFFER_OVERFLOW : I18N_ERROR_NONE;
}

int i18n_unumber_create(i18n_unumber_format_style_e style, const i18n_uchar*, int32_t,
    const char* locale, i18n_uparse_error_s*, i18n_unumber_format_h* num_format)
{
    return make(i18nDouble().numberCode,
        { I18nHandle::Kind::Number, textOr(locale), std::nullopt, "", style }, num_format);
}

int i18n_unumber_destroy(i18n_unumber_format_h fmt)
{
    return destroy(fmt, I18nHandle::Kind::Number);
}

int32_t i18n_unumber_format(i18n_unumber_format_h fmt, int32_t number, i18n_uchar* result,
    int32_t result_len, i18n_ufield_position_s*)
{
    if (!find(fmt, I18nHandle::Kind::Number))
        return I18N_ERROR_INVALID_PARAMETER;
    const std::string digits = std::to_string(number);
    const auto found = i18nDouble().numbers.find(digits);
    return write(found == i18nDouble().numbers.end() ? digits : found->second, result, result_len);
}
