// A scratch folder, a network namespace, and a daemon that records what the library reports.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <utility>

#include "api.h"
#include "common/conf.h"
#include "common/text.h"

// A folder that is removed with the object.
class ScratchFolder {
  public:
    explicit ScratchFolder(const std::string& conf = "");  // the text of platform.conf
    ~ScratchFolder() { std::filesystem::remove_all(path_); }
    std::string path(const std::string& name) const { return path_ + "/" + name; }
    const std::string& path() const { return path_; }
    void write(const std::string& name, const std::string& text, int mode = 0644) const;
    std::string read(const std::string& name) const;
    // Writes an executable shell script, makes this the folder of hooks and forgets all answers.
    void hook(const std::string& name, const std::string& body) const;
    // Writes platform.conf and loads it.
    void platformConf(const std::string& text) const;

  private:
    std::string path_;
};

// Whether the condition becomes true within ten seconds.
bool becomes(const std::function<bool()>& condition);

// Runs the body in a child process with an empty network namespace and a fresh library.
void inOwnNetwork(void (*body)());
// A test that runs there.
#define NETWORK_TEST(suite, name)  \
    static void suite##name();     \
    TEST(suite, name) {            \
        inOwnNetwork(suite##name); \
    }                              \
    static void suite##name()

// The texts of saveState, by their names.
std::map<std::string, std::string>& stored();

// Runs a shell command and returns what it printed; a failure fails the test.
std::string run(const std::string& command);
// The same for ip with each of these arguments, separated by semicolons.
void ip(const std::string& commands);

// The answer of a platform function that fills a text.
template <size_t N>
std::string textOf(int (*question)(char*)) {
    char text[N];
    EXPECT_EQ(question(text), 0);
    return text;
}

// Calls take() for each entry of a list and frees the entry.
template <typename Entry, typename Take>
void takeList(Entry* head, Take take) {
    while (head != nullptr) {
        take(*head);
        free(std::exchange(head, head->next));
    }
}

// " <mac> <mac>"
std::string macsText(const uint8_t* packed, size_t count);

// Interfaces by name, from getIntfDesc; their pointers are no longer valid.
std::map<std::string, IntfDesc> describeAll();

// Starts the library and records every event as text: "added v0", "removed v0",
// "mac v0 <old> <new>", "power v0 2", "heard v0 <mac>", "lost v0 <mac>", "bridges", "al <mac>",
// "wps", "firmware 1", "upgrade 3", "led text". At every event, getIntfmatchNum must match the
// events so far.
class Listener {
  public:
    Listener();
    ~Listener();
    // The events of one runNetCtrl: "lost v0 <mac>, bridges".
    std::string next();
    // The same after calls of ip.
    std::string after(const std::string& commands);
    // Calls runNetCtrl until the interface is reported with this operational status. These events
    // are recorded separately, since the kernel sends them in its own time.
    bool statusBecomes(const std::string& ifname, uint32_t status);

    int intfNum = 0;
    std::string events;
    std::map<std::string, uint32_t> statuses;

  private:
    static void callback(uint32_t eventId, const void* info, uint32_t* result);
    void record(uint32_t eventId, const void* info);
    void note(const std::string& event) { events += (events.empty() ? "" : ", ") + event; }
};
