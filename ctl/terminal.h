// Output for people: escaping, colors, progress, questions.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// The text with everything visible that could control a terminal or mislead its reader: control
// characters, direction marks and bytes that are not UTF-8 as \xNN or \u{N}, a backslash as \\.
std::string escaped(std::string_view text);

// The columns of an escaped text, counting one for each character.
size_t width(std::string_view text);

// Whether the locale of the process is UTF-8.
bool hasUnicode();

enum class Color { kHeading, kFaint, kTrouble };
// The text in a color if the stream (1 output, 2 errors) is a terminal and NO_COLOR is not set.
std::string colored(Color color, std::string_view text, int stream);

bool isTerminal(int stream);

// The part of a colored text that fits into these rows (at least 1) and columns.
std::string cutTo(std::string_view text, size_t rows, size_t columns);
// The same for the current size of the terminal on standard output.
std::string cutToTerminal(std::string_view text);

// The width of the terminal on standard output; 80 if that is no terminal.
size_t terminalColumns();

// A line on standard error that shows how long a call has taken so far; only on a terminal.
class Progress {
  public:
    void begin(std::string what);      // what the call waits for
    void show(unsigned milliseconds);  // since the call began
    void end();                        // erases the line

  private:
    std::string what_;
    bool shown_ = false;
};

// Asks on the terminal. Only "y" and "yes", in any case, confirm.
bool isConfirmed(const std::string& question);
