#include "Cache.h"
#include "Icu.h"

#include <algorithm>

namespace {

using Handle = std::shared_ptr<UNumberFormat>;

std::shared_ptr<UNumberFormat> formatOf(i18n_unumber_format_style_e style,
    const std::u16string& pattern, const std::string& locale, UParseError& error,
    UErrorCode& status)
{
    static i18n::Cache<UNumberFormat> cache;
    const std::u16string key = pattern + u'\0' + static_cast<char16_t>(style);
    return cache.get(key, locale, status, [&]() -> std::shared_ptr<UNumberFormat> {
        UNumberFormat* format = unum_open(static_cast<UNumberFormatStyle>(style), pattern.data(),
            static_cast<int32_t>(pattern.size()), locale.c_str(), &error, &status);
        if (U_FAILURE(status)) {
            unum_close(format);
            return nullptr;
        }
        return { format, i18n::Closer<unum_close>() };
    });
}

} // namespace

extern "C" int i18n_unumber_create(i18n_unumber_format_style_e style, const i18n_uchar* pattern,
    int32_t pattern_len, const char* locale, i18n_uparse_error_s* parse_err,
    i18n_unumber_format_h* num_format)
{
    return i18n::guarded([&]() -> int {
        const bool patterned = style == I18N_UNUMBER_PATTERN_DECIMAL;
        if (!num_format || (!patterned && style != I18N_UNUMBER_DECIMAL)
            || (patterned && !i18n::isText(pattern, pattern_len)))
            return I18N_ERROR_INVALID_PARAMETER;
        UErrorCode status = U_ZERO_ERROR;
        UParseError error = {};
        Handle made
            = formatOf(style, patterned ? i18n::textOf(pattern, pattern_len) : std::u16string(),
                i18n::localeName(locale), error, status);
        if (made) {
            *num_format = new Handle(std::move(made));
        } else if (parse_err) {
            parse_err->line = error.line;
            parse_err->offset = error.offset;
            std::copy(
                std::begin(error.preContext), std::end(error.preContext), parse_err->pre_context);
            std::copy(std::begin(error.postContext), std::end(error.postContext),
                parse_err->post_context);
        }
        return i18n::codeOf(status);
    });
}

extern "C" int i18n_unumber_destroy(i18n_unumber_format_h fmt)
{
    return i18n::destroy<Handle>(fmt);
}

extern "C" int32_t i18n_unumber_format(i18n_unumber_format_h fmt, int32_t number,
    i18n_uchar* result, int32_t result_len, i18n_ufield_position_s* pos)
{
    return i18n::guarded([&]() -> int {
        if (!fmt || !i18n::isBuffer(result, result_len))
            return I18N_ERROR_INVALID_PARAMETER;
        UErrorCode status = U_ZERO_ERROR;
        UFieldPosition field = { pos ? pos->field : 0, 0, 0 };
        const std::u16string text
            = i18n::written(status, [&](UChar* buffer, int32_t capacity, UErrorCode* code) {
                  return unum_format(static_cast<Handle*>(fmt)->get(), number, buffer, capacity,
                      pos ? &field : nullptr, code);
              });
        if (U_FAILURE(status))
            return i18n::codeOf(status);
        if (i18n::copyOut(text, result, result_len) && pos)
            *pos = { field.field, field.beginIndex, field.endIndex };
        return static_cast<int32_t>(text.size());
    });
}
