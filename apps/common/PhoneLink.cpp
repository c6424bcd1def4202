#include "common/PhoneLink.h"

#include <app_common.h>
#include <cstdlib>
#include <memory>

namespace app {

const char* const kPhoneSocket = "phone.sock";

std::string phoneSocketFolder()
{
    const std::unique_ptr<char, void (*)(void*)> folder(app_get_shared_trusted_path(), free);
    return folder ? folder.get() : "";
}

} // namespace app
