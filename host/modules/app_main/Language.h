#pragma once

#include <memory>
#include <vector>

/**
 * The device's language and region in this process: which texts gettext finds, and ICU's default
 * locale. Follows the settings as long as the object lives.
 */
class Language {
public:
    Language();

private:
    std::vector<std::shared_ptr<void>> _watches;
};
