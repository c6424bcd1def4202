#ifndef UTILS_I18N_H
#define UTILS_I18N_H

#include <tizen.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef uint16_t i18n_uchar;   /* one UTF-16 unit; ICU's UChar bit for bit */
typedef double   i18n_udate;   /* milliseconds since the epoch */
typedef void *i18n_ucalendar_h;
typedef void *i18n_udate_format_h;
typedef void *i18n_udatepg_h;
typedef void *i18n_unumber_format_h;

/* codes other than NONE, INVALID_PARAMETER and OUT_OF_MEMORY: [chosen] */
typedef enum {
    I18N_ERROR_NONE              = TIZEN_ERROR_NONE,
    I18N_ERROR_OUT_OF_MEMORY     = TIZEN_ERROR_OUT_OF_MEMORY,
    I18N_ERROR_INVALID_PARAMETER = TIZEN_ERROR_INVALID_PARAMETER,
    I18N_ERROR_BUFFER_OVERFLOW   = TIZEN_ERROR_BUFFER_SPACE,
    I18N_ERROR_UNKNOWN           = TIZEN_ERROR_UNKNOWN
} i18n_error_code_e;

typedef enum {
    I18N_UCALENDAR_TRADITIONAL = 0,
    I18N_UCALENDAR_DEFAULT     = I18N_UCALENDAR_TRADITIONAL,
    I18N_UCALENDAR_GREGORIAN   = 1
} i18n_ucalendar_type_e;

typedef enum {
    I18N_UCALENDAR_LENIENT                   = 0,
    I18N_UCALENDAR_FIRST_DAY_OF_WEEK         = 1,
    I18N_UCALENDAR_MINIMAL_DAYS_IN_FIRST_WEEK = 2
} i18n_ucalendar_attribute_e;

typedef enum {
    I18N_UCALENDAR_ERA                  = 0,
    I18N_UCALENDAR_YEAR                 = 1,
    I18N_UCALENDAR_MONTH                = 2,
    I18N_UCALENDAR_WEEK_OF_YEAR         = 3,
    I18N_UCALENDAR_WEEK_OF_MONTH        = 4,
    I18N_UCALENDAR_DATE                 = 5,
    I18N_UCALENDAR_DAY_OF_YEAR          = 6,
    I18N_UCALENDAR_DAY_OF_WEEK          = 7,
    I18N_UCALENDAR_DAY_OF_WEEK_IN_MONTH = 8,
    I18N_UCALENDAR_AM_PM                = 9,
    I18N_UCALENDAR_HOUR                 = 10,
    I18N_UCALENDAR_HOUR_OF_DAY          = 11,
    I18N_UCALENDAR_MINUTE               = 12,
    I18N_UCALENDAR_SECOND               = 13,
    I18N_UCALENDAR_MILLISECOND          = 14,
    I18N_UCALENDAR_ZONE_OFFSET          = 15,
    I18N_UCALENDAR_DST_OFFSET           = 16
} i18n_ucalendar_date_fields_e;

typedef enum {
    I18N_UDATE_FULL    = 0,
    I18N_UDATE_LONG    = 1,
    I18N_UDATE_MEDIUM  = 2,
    I18N_UDATE_SHORT   = 3,
    I18N_UDATE_DEFAULT = I18N_UDATE_MEDIUM,
    I18N_UDATE_NONE    = -1,
    I18N_UDATE_PATTERN = -2
} i18n_udate_format_style_e;

typedef enum {
    I18N_UNUMBER_PATTERN_DECIMAL = 0,
    I18N_UNUMBER_DECIMAL         = 1
} i18n_unumber_format_style_e;

typedef struct {
    int32_t field;
    int32_t begin_index;
    int32_t end_index;
} i18n_ufield_position_s;

typedef struct {
    int32_t line;
    int32_t offset;
    i18n_uchar pre_context[16];
    i18n_uchar post_context[16];
} i18n_uparse_error_s;

/* locale */
int i18n_ulocale_set_default(const char *locale_id);
int i18n_ulocale_get_default(const char **locale);

/* strings */
i18n_uchar *i18n_ustring_copy_ua_n(i18n_uchar *dest, const char *src, int32_t n);
char       *i18n_ustring_copy_au_n(char *dest, const i18n_uchar *src, int32_t n);

/* calendar */
int i18n_ucalendar_create(const i18n_uchar *zone_id, int32_t len, const char *locale,
                          i18n_ucalendar_type_e type, i18n_ucalendar_h *calendar);
int i18n_ucalendar_destroy(i18n_ucalendar_h calendar);
int i18n_ucalendar_get(i18n_ucalendar_h calendar, i18n_ucalendar_date_fields_e field,
                       int32_t *val);
int i18n_ucalendar_get_attribute(i18n_ucalendar_h calendar, i18n_ucalendar_attribute_e attr,
                                 int32_t *val);
int i18n_ucalendar_set_date_time(i18n_ucalendar_h calendar, int32_t year, int32_t month,
                                 int32_t date, int32_t hour, int32_t minute, int32_t second);
int i18n_ucalendar_set_milliseconds(i18n_ucalendar_h calendar, i18n_udate date_time);
int i18n_ucalendar_get_milliseconds(i18n_ucalendar_h calendar, i18n_udate *date);

/* date patterns */
int i18n_udatepg_create(const char *locale, i18n_udatepg_h *dtpg);
int i18n_udatepg_destroy(i18n_udatepg_h dtpg);
int i18n_udatepg_get_best_pattern(i18n_udatepg_h dtpg, const i18n_uchar *skeleton, int32_t len,
                                  i18n_uchar *best_pattern, int32_t capacity,
                                  int32_t *best_pattern_len);

/* date formats */
int i18n_udate_create(i18n_udate_format_style_e time_style, i18n_udate_format_style_e date_style,
                      const char *locale, const i18n_uchar *zone_id, int32_t zone_id_len,
                      const i18n_uchar *pattern, int32_t pattern_len,
                      i18n_udate_format_h *format);
int i18n_udate_destroy(i18n_udate_format_h format);
int i18n_udate_format_date(i18n_udate_format_h format, i18n_udate date_to_format,
                           i18n_uchar *result, int32_t result_len,
                           i18n_ufield_position_s *position, int32_t *buf_size_needed);

/* numbers */
int i18n_unumber_create(i18n_unumber_format_style_e style, const i18n_uchar *pattern,
                        int32_t pattern_len, const char *locale,
                        i18n_uparse_error_s *parse_err, i18n_unumber_format_h *num_format);
int i18n_unumber_destroy(i18n_unumber_format_h fmt);
int32_t i18n_unumber_format(i18n_unumber_format_h fmt, int32_t number, i18n_uchar *result,
                            int32_t result_len, i18n_ufield_position_s *pos);

#ifdef __cplusplus
}
#endif

#endif
