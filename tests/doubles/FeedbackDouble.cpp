#include "FeedbackDouble.h"

#include "CallJournal.h"

FeedbackDouble& feedbackDouble()
{
    static FeedbackDouble instance;
    return instance;
}

int feedback_initialize()
{
    callJournal().note("feedback_initialize");
    if (feedbackDouble().initializeResult == FEEDBACK_ERROR_NONE)
        feedbackDouble().initialized = true;
    return feedbackDouble().initializeResult;
}

int feedback_play_type(feedback_type_e type, feedback_pattern_e pattern)
{
    callJournal().note(
        "feedback_play_type(" + std::to_string(type) + ", " + std::to_string(pattern) + ")");
    return feedbackDouble().initialized ? feedbackDouble().playResult
                                        : FEEDBACK_ERROR_NOT_INITIALIZED;
}

int feedback_stop()
{
    callJournal().note("feedback_stop");
    return feedbackDouble().initialized ? FEEDBACK_ERROR_NONE : FEEDBACK_ERROR_NOT_INITIALIZED;
}
