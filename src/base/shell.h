// Commands for the shell.
#pragma once

#include <optional>
#include <string>
#include <string_view>

// Runs a printf-like command through the shell and waits for it; the status of system(3), -1 when
// the command is too long. Nothing that comes from outside may stand in it unescaped.
int runShell(const char* format, ...) __attribute__((format(printf, 1, 2)));

// Text as it must stand between the double quotes of an echo command to come out as it is; for
// plain text that is the text itself. Nothing for what shells echo differently: backslashes,
// options.
[[nodiscard]] std::optional<std::string> escapeForEcho(std::string_view text);
