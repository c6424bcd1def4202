#pragma once

#include "host/common/Entries.h"

#include <app_control.h>
#include <bundle.h>
#include <cstdint>

/// The contents of the handles that more than one module uses.
struct _bundle_t {
    host::Entries entries;
};

struct app_control_s {
    bundle data;
    std::string sender; ///< of a received request: the unique bus name of its caller
    uint64_t ticket = 0; ///< of a received request: the caller's number for it; 0 = wants no reply
};
