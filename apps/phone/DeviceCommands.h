#pragma once

#include "Requests.h"

class Device;

/// Runs a command of the phone, given as its name and arguments. A Failure becomes the result's
/// status and error.
requests::Result runCommand(Device& device, const std::vector<std::string>& arguments);
