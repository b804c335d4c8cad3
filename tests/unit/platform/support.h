// A scratch folder, a network of one's own, and a daemon that writes down what it is told.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <string>

#include "api.h"
#include "common/command.h"
#include "common/conf.h"
#include "common/text.h"

// A folder that goes away with the object.
class ScratchFolder {
  public:
    ScratchFolder();
    ~ScratchFolder();
    std::string path(const std::string& name) const { return path_ + "/" + name; }
    const std::string& path() const { return path_; }
    void write(const std::string& name, const std::string& text, int mode = 0644) const;
    std::string read(const std::string& name) const;
    // An executable shell script in this folder, which becomes the folder of hooks.
    void hook(const std::string& name, const std::string& body) const;
    // A platform.conf for everything that follows.
    void platformConf(const std::string& text) const;

  private:
    std::string path_;
};

// Whether the condition comes true within ten seconds.
bool becomes(const std::function<bool()>& condition);

// Runs the body in a child process with an empty network namespace. The library is as new there.
void inOwnNetwork(const std::function<void()>& body);

// Runs "ip" (or another program) with blank-separated arguments; a failure fails the test.
void run(const std::string& commandLine);
inline void ip(const std::string& args) {
    run("ip " + args);
}

// The answer to a question for a text.
template <size_t N>
std::string textOf(int (*question)(char*)) {
    char text[N];
    EXPECT_EQ(question(text), 0);
    return text;
}

// Interfaces by name, from getIntfDesc; their lists are gone.
std::map<std::string, IntfDesc> describeAll();

// The started library with callbacks that note every event as text: "added v0", "removed v0",
// "mac v0 <old> <new>", "power v0 2", "heard v0 <mac>", "lost v0 <mac>", "bridges", "al <mac>",
// "wps", "firmware 1", "upgrade 3", "led text". At every callback the number of interfaces must be
// what the daemon has been told so far.
class Told {
  public:
    Told();
    ~Told();
    // What is reported by one runNetCtrl: "lost v0 <mac>, bridges".
    std::string next();
    // The same after a call of ip.
    std::string after(const std::string& args);
    // Calls runNetCtrl until the interface is told to have this operational status. The kernel
    // tells of carriers in its own time, so these events are kept apart.
    bool statusBecomes(const std::string& ifname, uint32_t status);

    static void callback(uint32_t eventId, const void* info, uint32_t* result);

    int intfNum = 0;
    std::string events;
    std::map<std::string, uint32_t> statuses;

  private:
    void note(const std::string& event) { events += (events.empty() ? "" : ", ") + event; }
};
