#pragma once

#include <feedback.h>

/// The vibrator. Calls go to the journal.
struct FeedbackDouble {
    /// Set by a feedback_initialize that succeeds; nothing is played without.
    bool initialized = true;
    int initializeResult = FEEDBACK_ERROR_NONE;
    int playResult = FEEDBACK_ERROR_NONE;
};

FeedbackDouble& feedbackDouble();
