#pragma once

#include <stdexcept>

namespace host {

/// The caller asks for more than one application may have.
class LimitExceeded : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

} // namespace host
