#pragma once

#include <string>

/// Does what the voice assistant asks for by a JSON text, and prints the reply on a line. Throws a
/// Failure when it was not done; the reply is printed all the same.
void answerVoice(const std::string& text);
