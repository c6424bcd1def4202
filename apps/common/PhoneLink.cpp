#include "common/PhoneLink.h"

#include <app_common.h>
#include <HeapText.h>

namespace app {

const char* const kPhoneSocket = "phone.sock";

std::string phoneSocketFolder() { return companion::takeText(app_get_shared_trusted_path()); }

} // namespace app
