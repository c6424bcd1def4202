#pragma once

#include "Requests.h"

class Device;

/// Does on the phone what the command's arguments say.
requests::Result runCommand(Device& device, const std::vector<std::string>& arguments);
