#pragma once

#include "common/Failure.h"

#include <gtest/gtest.h>
#include <string>

/// A text that is refused, and why.
struct RefusedCase {
    const char* name;
    std::string text;
    std::string reason;
};

/// Why read refuses the text, as bad input; "" when it does not.
template <typename Read>
std::string refusalOf(const std::string& text, const Read& read)
{
    try {
        (void)read(text);
        return "";
    } catch (const Failure& failure) {
        EXPECT_EQ(Failure::kBadInput, failure.status());
        return failure.what();
    }
}
