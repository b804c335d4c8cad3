// The files in the data-model folder, and how often they are rewritten.
//
// Rewriting a file takes at most a tenth of the time, however large it is: after a rewrite that
// took t, the next one of the same file starts no earlier than 10 t later. In a small mesh that is
// milliseconds.
//
// With WEB_FOLDER, each is followed by its copy for a web server (web_copy.h).
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <span>
#include <string_view>
#include <utility>

// Takes the text of a file in pieces, and its end, which no copy contains.
using WritePieces =
    std::function<void(std::span<const std::string_view> pieces, std::string_view secret)>;
// Renders a file and calls write once.
using RenderFile = void (*)(const WritePieces& write);

struct DataModelFiles {
    struct File {
        int64_t earliest = 0;          // microseconds since boot; 0 if never written
        RenderFile waiting = nullptr;  // a rewrite that is requested, but not due
    };
    // By name; true: those of which only the copy is written.
    std::map<std::pair<std::string_view, bool>, File> files;
};

// Rewrites the file with what render writes, as soon as the limit permits. Requests until then
// cause one rewrite. The name must be a constant. With onlyCopy, rewrites only the copy.
void writeDataModelFile(std::string_view name, RenderFile render, bool onlyCopy = false);

// Performs the requested rewrites that are due. Called on every pass of the main loop.
void writeDueDataModelFiles();

// Microseconds until a requested rewrite is due, not below 0; INT64_MAX if there is none.
int64_t timeToDataModelFile();

// Performs all requested rewrites. Called when the daemon ends.
void writeWaitingDataModelFiles();
