#pragma once

#include <app_control.h>
#include <bundle.h>
#include <cstdlib>
#include <glib.h>
#include <notification.h>
#include <sqlite3.h>

/// Holds a handle of the platform, or none, and releases it once.
template <typename Handle, auto Release>
class PlatformHandle {
public:
    PlatformHandle() = default;
    explicit PlatformHandle(Handle handle)
        : _handle(handle)
    {
    }
    PlatformHandle(const PlatformHandle&) = delete;
    PlatformHandle& operator=(const PlatformHandle&) = delete;
    ~PlatformHandle() { reset(); }

    Handle get() const { return _handle; }

    /// For a call that makes a handle; one that is held is released first.
    Handle* out()
    {
        reset();
        return &_handle;
    }

    /// For a call that may release the handle, and then clears it.
    Handle* inout() { return &_handle; }

    void reset()
    {
        if (_handle)
            (void)Release(_handle);
        _handle = nullptr;
    }

private:
    Handle _handle = nullptr;
};

using AppControl = PlatformHandle<app_control_h, app_control_destroy>;
using EncodedBundle = PlatformHandle<bundle_raw*, free>;
using GlibText = PlatformHandle<char*, g_free>;
using HeapText = PlatformHandle<char*, free>;
using Notification = PlatformHandle<notification_h, notification_free>;
using SqliteText = PlatformHandle<char*, sqlite3_free>;
using Statement = PlatformHandle<sqlite3_stmt*, sqlite3_finalize>;
