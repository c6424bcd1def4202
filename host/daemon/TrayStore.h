#pragma once

#include "host/daemon/LimitExceeded.h"
#include "host/daemon/StateFile.h"

#include <cstdint>
#include <deque>
#include <map>
#include <notification.h>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace host {

/// Something that hostd could not do for the user, such as ringing an alarm.
struct Report {
    std::string key; ///< the same whenever the same thing is reported
    std::int64_t posted = 0; ///< seconds since the epoch
    std::string text;
};

/// A notification of an application, with what the application has set.
struct Notification {
    struct Text {
        std::string text;
        std::string key; ///< of its translation; empty = none
    };

    std::int64_t id = 0; ///< given out once; an int until 2088
    std::string package;
    std::string application;
    std::int64_t posted = 0; ///< seconds since the epoch
    std::string tag; ///< empty = none
    int type = NOTIFICATION_TYPE_NOTI;
    int layout = NOTIFICATION_LY_NONE;
    int displays = 0; ///< a bit set of places
    std::int64_t time = 0; ///< seconds since the epoch
    std::map<int, Text> texts; ///< by notification_text_type_e
};

/**
 * Notifications and reports on disk. A change is durable when the call returns. The file is opened
 * by the first call, and again after a failure, so that no alarm depends on it. Unless said
 * otherwise, the calls throw std::exception when the file cannot be read or written. One thread.
 */
class TrayStore {
public:
    static constexpr int kMostNotifications = 100; ///< of one application
    static constexpr std::size_t kLongestNotification = 65536; ///< bytes of its texts and its tag
    static constexpr int kMostReports = 1000; ///< the oldest are dropped

    explicit TrayStore(std::string path);

    /// Adds the notification and returns its id. It replaces the application's one of the same tag.
    /// Throws LimitExceeded, with a text for the caller.
    std::int64_t post(const Notification& notification);
    std::optional<Notification> find(std::int64_t id);
    std::optional<Notification> find(const std::string& application, const std::string& tag);
    std::vector<Notification> withTag(const std::string& tag); ///< of any application
    std::vector<Notification> all(); ///< the oldest first
    /// False when the application has no notification of that id.
    bool remove(const std::string& application, std::int64_t id);
    /// Removes the application's notifications of the type, NOTIFICATION_TYPE_NONE = of any.
    void removeAll(const std::string& application, int type);

    /// Adds those reports whose keys are not there. If they cannot be written, they are in the log,
    /// kept in memory and written by a later call; the result is then false. Never throws.
    bool report(const std::vector<Report>& reports) noexcept;
    /// The oldest first; those that could not be written yet come last.
    std::vector<Report> reports();

    // What a desktop shows of the notifications. desktop: a text that identifies its notification
    // daemon; number: by which that knows a notification.

    /// Whether there is anything to show, or anything was shown.
    bool concernsDesktops();
    /// Drops what other desktops have shown.
    void forgetOtherDesktops(const std::string& desktop);
    void forgetDesktops() { forgetOtherDesktops(""); }
    struct ToShow {
        Notification notification;
        std::uint32_t replaced = 0; ///< the number of what it takes the place of; 0 = nothing
    };
    std::optional<ToShow> nextToShow(
        const std::string& desktop, const std::set<std::int64_t>& except = {});
    /// The number of a notification that is in the tray no more.
    std::optional<std::uint32_t> nextToClose(const std::string& desktop);
    std::vector<std::uint32_t> numbersOn(const std::string& desktop); ///< of all that it shows
    /// Whatever had the number before is shown no more. number: 0 when the user has closed it
    /// already.
    void setShown(std::int64_t id, const std::string& desktop, std::uint32_t number);
    /// What the notification was to take the place of is to be closed.
    void setRefused(std::int64_t id);
    /// It stays in the tray, and counts as shown.
    void setClosed(const std::string& desktop, std::uint32_t number);
    /// Nothing when the desktop shows something older in its place.
    std::optional<Notification> shownAs(const std::string& desktop, std::uint32_t number);

private:
    SQLite::Database& _open();
    bool _await(const Report& report);
    template <typename Work>
    auto _with(const Work& work);
    template <typename... Values>
    std::vector<Notification> _select(const std::string& condition, const Values&... values);

    const std::string _path;
    std::optional<SQLite::Database> _file;
    std::deque<Report> _waiting; ///< reports that could not be written yet
};

} // namespace host
