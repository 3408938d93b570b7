// The terminal and the pipes a program was started with.
#pragma once

#include <string_view>

namespace kestrix {

// `input` can only be asked whether it is a terminal.
enum class StandardStream { input, output, error };

bool isTerminal(StandardStream stream);
// In columns; 80 where it is not known.
int terminalWidth(StandardStream stream);

enum class WriteOutcome { written, readerGone, failed };

// Writes all bytes, however many calls that takes. A reader that closed its pipe is `readerGone`, never a
// signal (see ignoreBrokenPipes); after `failed`, errorNumber tells why. Any thread, one at a time.
WriteOutcome writeTo(StandardStream stream, std::string_view bytes, int* errorNumber = nullptr);

// Whether `stream` can still fail when the program ends, asked once at the end: closes it and tells.
WriteOutcome closeStream(StandardStream stream, int* errorNumber = nullptr);

void ignoreBrokenPipes();

// Takes the places of standard streams that were closed at the start, so that no file opened later gets their
// number and with it what is printed. Call it first of all.
void reserveStandardStreams();

}  // namespace kestrix
