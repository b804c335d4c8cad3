// What reaches the eyes of a person: escaping, colours, progress, questions.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// The text with everything that could drive or disguise a terminal made visible: control
// characters, direction marks and bytes that are no UTF-8 as \xNN or \u{N}, a backslash as \\.
std::string escaped(std::string_view text);

// Columns that an escaped text takes; a character is taken for one.
size_t width(std::string_view text);

// Whether standard output understands more than ASCII, by the locale of the process.
bool hasUnicode();

enum class Colour { kHeading, kFaint, kTrouble };
// The text in a colour when the stream (1 output, 2 errors) is a terminal and NO_COLOR is not set.
std::string coloured(Colour colour, std::string_view text, int stream);

bool isTerminal(int stream);

// What fits of a coloured text on so many rows (at least 1) and columns.
std::string cutTo(std::string_view text, size_t rows, size_t columns);
// The same for the terminal of standard output, whatever size it has now.
std::string cutToTerminal(std::string_view text);

// One line on standard error that tells how long something has lasted; only on a terminal.
class Progress {
  public:
    void begin(std::string what);      // what is waited for
    void show(unsigned milliseconds);  // since the beginning
    void end();                        // leaves nothing behind

  private:
    std::string what_;
    bool shown_ = false;
};

// Asks on the terminal; only "y" and "yes" are one, in capitals or not.
bool isConfirmed(const std::string& question);
