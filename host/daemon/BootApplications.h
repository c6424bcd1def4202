#pragma once

#include "host/common/Timer.h"
#include "host/daemon/Applications.h"

#include <map>
#include <memory>
#include <string>

namespace host {

/**
 * Runs the applications that the device starts when it boots: those whose manifest, <application
 * id>.manifest in the installed package's folder, has the line "on-boot=true". An application that
 * ends without having been told to is started again, after 1, 2, 4 and so on up to 60 seconds. Main
 * loop.
 */
class BootApplications {
public:
    /// Starts the applications. The argument must outlive the object, which sets its whenEnded.
    explicit BootApplications(Applications& applications);

private:
    struct Boot {
        double pause = 0; ///< seconds before the next start
        double begun = 0; ///< by ecore_time_get()
        std::unique_ptr<Timer> wait;
    };

    void _start(const std::string& application);
    void _startLater(const std::string& application);

    Applications& _applications;
    std::map<std::string, Boot> _boots;
};

} // namespace host
