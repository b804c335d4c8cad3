#include "commands.h"

CLI::Option* addWord(CLI::App& command, Choice& choice, const char* name, int& number,
                     const char* text, const Words& words) {
    CLI::Option* const option = takeWord(command.add_option(name, number, text), words);
    for (const auto& [word, meaning] : words) choice.words[option].push_back(word);
    return option;
}
