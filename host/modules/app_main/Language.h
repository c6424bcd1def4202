#pragma once

#include <memory>

/**
 * The device's language and region in this process: which texts gettext finds, and ICU's default
 * locale. Follows the settings as long as the object lives.
 */
class Language {
public:
    Language();

private:
    std::shared_ptr<void> _watch;
};
