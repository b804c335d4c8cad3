// Shell commands.
#pragma once

#include <optional>
#include <string>
#include <string_view>

// Formats a command like printf, runs it through the shell, with the default action for SIGPIPE,
// and waits for it. Returns the status of system(3), or -1 if the command exceeds 4095 bytes. Text
// from outside must be escaped first.
int runShell(const char* format, ...) __attribute__((format(printf, 1, 2)));

// Escapes a text for use between the double quotes of an echo command, so that echo prints it
// unchanged. Plain text comes back as it is. std::nullopt for text that not every shell echoes
// alike: with a backslash or a NUL, or one that looks like an option of echo.
[[nodiscard]] std::optional<std::string> escapeForEcho(std::string_view text);
