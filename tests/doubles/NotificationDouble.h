#pragma once

#include <ctime>
#include <map>
#include <memory>
#include <notification.h>
#include <string>
#include <vector>

struct _notification {
    int id = 0; ///< of its post; 0 = not posted
    notification_type_e type = NOTIFICATION_TYPE_NONE;
    time_t time = 0;
    int places = 0;
    int layout = NOTIFICATION_LY_NONE;
    std::map<int, std::string> texts; ///< by their type
    bool hasTextKey = false;
    int arguments = 0; ///< of the last text
    std::string tag;
};

/// The tray, of this application alone. Each call is noted in the journal by its name.
struct NotificationDouble {
    /// What the calls named here answer, without doing anything; a call that makes a handle makes
    /// none.
    std::map<std::string, int> results;
    std::map<std::string, _notification> tray; ///< by tag
    bool isAnswerLost = false; ///< post does its work, and answers that the tray cannot be reached
    int posts = 0; ///< that were done
    std::vector<notification_type_e> allDeleted; ///< the types that were asked for
    std::vector<std::unique_ptr<_notification>> alive;
    int wronglyFreed = 0; ///< handles that were freed without being alive
};

NotificationDouble& notificationDouble();
