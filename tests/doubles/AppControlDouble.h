#pragma once

#include "BundleDouble.h"

#include <app_control.h>
#include <memory>
#include <string>
#include <utility>
#include <vector>

struct app_control_s {
    std::string operation;
    std::string applicationId;
    std::vector<std::pair<std::string, std::string>> extras; ///< in the order of addition
    bundle data; ///< what app_control_to_bundle has made of these
};

/// App controls that were made, and those not destroyed yet.
struct AppControlDouble {
    /// What app_control_create answers; no handle is made when it is not 0.
    int createResult = APP_CONTROL_ERROR_NONE;
    int setAppIdResult = APP_CONTROL_ERROR_NONE; ///< when it is not 0 the id is not set
    int toBundleResult = APP_CONTROL_ERROR_NONE; ///< when it is not 0 there is no bundle
    int created = 0;
    std::vector<std::unique_ptr<app_control_s>> alive;
    /// Handles that were destroyed without being alive, NULL too.
    int wronglyDestroyed = 0;

    struct LaunchRequest {
        app_control_s request;
        app_control_reply_cb callback;
        void* data;
    };
    int sendResult = APP_CONTROL_ERROR_NONE; ///< when it is not 0 nothing is sent
    std::vector<LaunchRequest> sent;

    struct Reply {
        app_control_h request;
        app_control_s reply;
        app_control_result_e result;
    };
    std::vector<Reply> replies;
};

AppControlDouble& appControlDouble();
