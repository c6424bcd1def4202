#ifndef APPCORE_COMMON_H
#define APPCORE_COMMON_H

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Sets the process's messages to the language that the device has now, and makes domainname, whose
 * catalogues lie in the folder dirname, the default domain of gettext, with texts in UTF-8 whatever
 * the terminal's locale is. An application that runs by ui_app_main or service_app_main follows
 * later changes of the device's language; other programs call this again.
 * 0, or -1 with errno EINVAL when an argument is missing or the domain cannot be bound. Main thread.
 */
int appcore_set_i18n(const char *domainname, const char *dirname);

#ifdef __cplusplus
}
#endif

#endif
