#pragma once

#include <string>

/** Texts of unknown origin on a terminal and in JSON. */

/// Whether the text is UTF-8 and fits on a line: without control characters, separators of lines,
/// and marks that reorder the text after them.
bool isCleanText(const std::string& text);

/// The text with U+FFFD in place of each character that isCleanText() does not allow, and of each
/// byte that is not UTF-8.
std::string printable(const std::string& text);

/// The text as a message quotes it: printable, cut to 40 columns, in quotes.
std::string quoted(const std::string& text);

/// The columns that a printable text takes on a terminal.
size_t displayWidth(const std::string& text);

/// The text; one that is wider than columns is cut and ends with an ellipsis.
std::string cutToWidth(const std::string& text, size_t columns);

/// The text, followed by blanks up to that many columns.
std::string padToWidth(const std::string& text, size_t columns);

/// The text as a JSON string with its quotes, and U+FFFD in place of each byte that is not UTF-8.
std::string jsonString(const std::string& text);
