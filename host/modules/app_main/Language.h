#pragma once

#include <memory>
#include <vector>

/**
 * Sets the process to the device's language and region, which decide the texts that gettext finds
 * and ICU's default locale. Follows the settings as long as the object lives.
 */
class Language {
public:
    Language();

private:
    std::vector<std::shared_ptr<void>> _watches;
};
