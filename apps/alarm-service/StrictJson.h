#pragma once

#include <string>

/**
 * JSON-GLib reads more than JSON: comments, single quotes, broken escapes, other bases, and of two
 * values the first; and a whole number that does not fit it takes for another. Throws Failure for a
 * text in which there is any of that. What JSON-GLib itself refuses may pass.
 */
void checkStrictJson(const std::string& text);
