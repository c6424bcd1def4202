#pragma once

#include <string>

/**
 * JSON-GLib reads more than JSON: comments, single quotes, broken escapes, control characters,
 * numbers of other forms, and of two values the first; a whole number that does not fit it takes
 * for another, and deep nesting ends the process. Throws Failure for a text in which there is any
 * of that. What JSON-GLib itself refuses may pass.
 */
void checkStrictJson(const std::string& text);
