// The configuration options: read from "vm1905.conf" and "vm1905_Version" at start-up, changed by
// setters at run time, never written back.
//
// Setters return kOk, or kUnchanged when the value is the present one.
#pragma once

#include <cstdint>
#include <string_view>

#include "base/mac_addr.h"

// The folder of the configuration files, at most 31 characters.
void setConfFolder(std::string_view folder);

// Reads both files and the platform's identity strings. kOk, or kFailure when "vm1905.conf" cannot
// be opened (nothing else is then read).
[[nodiscard]] int initSysConfig();
// Reads "vm1905_Version". kOk, or kFailure when it cannot be opened.
int initVersion();
// Puts the nine file options back to their defaults. kOk.
int setDefSysConfig();

uint8_t getDebugLevelOption();
int setDebugLevelOption(uint8_t level);  // leaves the running level alone
uint32_t getEnableNetTopolOption();
int setEnableNetTopolOption(uint32_t enable);        // 1 enables the topology, 0 disables it
int setMaxChangeLogEntriesOption(uint16_t maximum);  // stores at most 256
uint32_t getEnableRebootFromNbrOption();
int setEnableRebootFromNbrOption(uint32_t enable);
uint32_t getEnableIntfPwrCtrlFromNbrOption();
int setEnableIntfPwrCtrlFromNbrOption(uint32_t enable);
const char* getDataModelFolderOption();
int setDataModelFolderOption(const char* folder);  // cut to 31 characters; kFailure for nullptr
uint32_t getEnableLogOption();
int setEnableLogOption(uint32_t enable);
int setLogFolderOption(const char* folder);  // cut to 31 characters; kFailure for nullptr
uint8_t getLogIndexOption();
int setLogIndexOption(uint8_t index);  // never kUnchanged

// The release as printed at start-up.
inline constexpr const char* kReleaseVersionGit = "WIFISYS_RTK_9.2";
