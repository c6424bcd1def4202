#include "Cache.h"
#include "Icu.h"

namespace {

using Handle = std::shared_ptr<UDateFormat>;

// Whether ICU knows the styles: it crashes with some other numbers.
bool areStyles(i18n_udate_format_style_e time, i18n_udate_format_style_e date)
{
    const auto isNamed = [](i18n_udate_format_style_e style) {
        return style >= I18N_UDATE_NONE && style <= I18N_UDATE_SHORT;
    };
    if (time == I18N_UDATE_PATTERN)
        return date == I18N_UDATE_PATTERN || isNamed(date);
    return isNamed(time) && isNamed(date);
}

std::shared_ptr<UDateFormat> formatOf(i18n_udate_format_style_e time,
    i18n_udate_format_style_e date, const std::string& locale, const i18n::Zone& zone,
    const std::u16string& pattern, UErrorCode& status)
{
    static i18n::Cache<UDateFormat> cache;
    std::u16string key = pattern + u'\0' + zone.id;
    key.append({ u'\0', static_cast<char16_t>(time), static_cast<char16_t>(date) });
    return cache.get(key, locale, status, [&]() -> std::shared_ptr<UDateFormat> {
        UDateFormat* format = udat_open(static_cast<UDateFormatStyle>(time),
            static_cast<UDateFormatStyle>(date), locale.c_str(), zone.idForIcu(), zone.idLength(),
            pattern.data(), static_cast<int32_t>(pattern.size()), &status);
        return { format, i18n::Closer<udat_close>() };
    });
}

} // namespace

extern "C" int i18n_udate_create(i18n_udate_format_style_e time_style,
    i18n_udate_format_style_e date_style, const char* locale, const i18n_uchar* zone_id,
    int32_t zone_id_len, const i18n_uchar* pattern, int32_t pattern_len,
    i18n_udate_format_h* format)
{
    return i18n::guarded([&]() -> int {
        const bool patterned = time_style == I18N_UDATE_PATTERN;
        if (!format || !areStyles(time_style, date_style)
            || (zone_id && !i18n::isText(zone_id, zone_id_len))
            || (patterned && !i18n::isText(pattern, pattern_len)))
            return I18N_ERROR_INVALID_PARAMETER;
        UErrorCode status = U_ZERO_ERROR;
        Handle made = formatOf(time_style, date_style, i18n::localeName(locale),
            i18n::Zone(zone_id, zone_id_len),
            patterned ? i18n::textOf(pattern, pattern_len) : std::u16string(), status);
        if (made)
            *format = new Handle(std::move(made));
        return i18n::codeOf(status);
    });
}

extern "C" int i18n_udate_destroy(i18n_udate_format_h format)
{
    return i18n::destroy<Handle>(format);
}

extern "C" int i18n_udate_format_date(i18n_udate_format_h format, i18n_udate date_to_format,
    i18n_uchar* result, int32_t result_len, i18n_ufield_position_s* position,
    int32_t* buf_size_needed)
{
    return i18n::guarded([&]() -> int {
        if (!format || !i18n::isBuffer(result, result_len) || !buf_size_needed)
            return I18N_ERROR_INVALID_PARAMETER;
        UErrorCode status = U_ZERO_ERROR;
        UFieldPosition field = { position ? position->field : 0, 0, 0 };
        std::u16string text
            = i18n::written(status, [&](UChar* buffer, int32_t capacity, UErrorCode* code) {
                  return udat_format(static_cast<Handle*>(format)->get(), date_to_format, buffer,
                      capacity, position ? &field : nullptr, code);
              });
        if (U_FAILURE(status))
            return i18n::codeOf(status);
        i18n::widenSpaces(text);
        *buf_size_needed = static_cast<int32_t>(text.size());
        if (!i18n::copyOut(text, result, result_len))
            return I18N_ERROR_BUFFER_OVERFLOW;
        if (position)
            *position = { field.field, field.beginIndex, field.endIndex };
        return I18N_ERROR_NONE;
    });
}
