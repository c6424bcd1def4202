#pragma once

#include <string>

/** What ICU has to say about an alarm's texts, called directly and without a cache. */
namespace direct {

/// The instant's fields of the skeleton in the locale's best pattern, "a" being its own pattern. A
/// narrow no-break space is a blank, as in the watch's ICU.
std::string formatted(
    const std::string& locale, const std::string& zone, long instant, const std::string& skeleton);

/// A time of day as the watch shows it: with U+2236 for ":", but for four languages, and with the
/// day's half, when there is one, apart from it.
std::string timeText(
    const std::string& locale, const std::string& zone, long instant, bool twelveHours);

std::string dateText(
    const std::string& locale, const std::string& zone, long instant, bool withYear);

/// 1 = Sunday to 7 = Saturday
int firstWeekday(const std::string& locale);

std::string number(const std::string& locale, int number);

std::string defaultLocale();

} // namespace direct
