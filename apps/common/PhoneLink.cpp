#include "common/PhoneLink.h"

#include "common/HeapText.h"

#include <app_common.h>

namespace app {

const char* const kPhoneSocket = "phone.sock";

std::string phoneSocketFolder() { return takeText(app_get_shared_trusted_path()); }

} // namespace app
