#pragma once

#include <app-assist.h>
#include <memory>
#include <thread>
#include <vector>

/// Main-loop timers that tick when a test says so. Making and destroying them goes to the journal,
/// with the period.
struct UiTimerDouble {
    struct Timer {
        /// One period passes. Does nothing when the timer has stopped.
        void tick();

        double period;
        app_assist::WUiTimer::TickCb tickCb;
        void* data;
        bool active;
        std::thread::id madeBy;
    };
    /// In the order in which they were made.
    std::vector<std::shared_ptr<Timer>> timers;
};

UiTimerDouble& uiTimerDouble();
