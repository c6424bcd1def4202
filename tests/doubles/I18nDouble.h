#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utils_i18n.h>
#include <vector>

/// Something that was made and is released by its own function.
struct I18nHandle {
    enum class Kind { Calendar, Format, Generator, Number };
    Kind kind;
    std::string locale;
    std::optional<std::string> zone; ///< none: the default zone was asked for
    std::string pattern;
    int type = 0;
};

/// Texts by locale and time. Answers with what the maps hold; a code other than 0 is an answer.
struct I18nDouble {
    int setDefaultCode = I18N_ERROR_NONE;
    int getDefaultCode = I18N_ERROR_NONE;
    int calendarCode = I18N_ERROR_NONE;
    int attributeCode = I18N_ERROR_NONE;
    int generatorCode = I18N_ERROR_NONE;
    int bestPatternCode = I18N_ERROR_NONE;
    int formatCode = I18N_ERROR_NONE;
    int formatDateCode = I18N_ERROR_NONE;
    int numberCode = I18N_ERROR_NONE;

    std::string defaultLocale = "C";
    bool loseDefaultLocale = false; ///< there is none to borrow
    /// Patterns by skeleton, texts by pattern: "" for those that are not there.
    std::map<std::string, std::string> patterns;
    std::map<std::string, std::string> texts;
    /// Numbers by their decimal digits, else those digits; a number of "" fails.
    std::map<std::string, std::string> numbers;
    std::map<i18n_ucalendar_date_fields_e, int32_t> fields;
    int32_t firstDay = 1;
    i18n_udate calendarMilliseconds = 0;

    std::vector<std::unique_ptr<I18nHandle>> alive;
    int wronglyDestroyed = 0;
    /// Everything that was made, in order.
    std::vector<I18nHandle> made;
    std::vector<std::string> skeletons;
    std::vector<i18n_udate> formattedAt;
    std::vector<i18n_udate> setMilliseconds;
    std::vector<std::vector<int32_t>> setDateTimes;
    std::vector<i18n_ucalendar_date_fields_e> fieldsRead;

    /// The last one of a kind that was made.
    const I18nHandle* lastOf(I18nHandle::Kind kind) const;
};

I18nDouble& i18nDouble();
