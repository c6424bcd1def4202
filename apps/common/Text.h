#pragma once

#include <string>

/** Texts of unknown origin on a terminal and in JSON. */

/// Whether text is UTF-8 without characters that would break or turn the line it stands in.
bool isCleanText(const std::string& text);

/// The text with U+FFFD for every character that would break or turn the line it stands in, and for
/// every byte that is not UTF-8.
std::string printable(const std::string& text);

/// What the user wrote, fit for a line of a message: printable, not too long, in quotes.
std::string quoted(const std::string& text);

/// The columns that a printable text takes on a terminal.
size_t displayWidth(const std::string& text);

/// The text, or its beginning and an ellipsis, in at most columns columns.
std::string cutToWidth(const std::string& text, size_t columns);

/// The text and blanks, columns wide.
std::string padToWidth(const std::string& text, size_t columns);

/// A JSON string with its quotes; U+FFFD for every byte that is not UTF-8.
std::string jsonString(const std::string& text);
