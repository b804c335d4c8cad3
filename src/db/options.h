// The configuration options: read from "vm1905.conf" and "vm1905_Version" at start-up, changed by
// setters at run time, never written back.
//
// Unless described otherwise, setters return kOk, or kUnchanged if the option has the value
// already.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <string_view>

#include "base/mac_addr.h"
#include "db/sys_ctrl.h"

// Sets the folder of the configuration files, cut to 31 characters.
void setConfFolder(std::string_view folder);

// Reads both files and the identity of the device from the platform. kFailure if "vm1905.conf" does
// not exist, kInvalidState if it cannot be opened; nothing else is read in these cases.
[[nodiscard]] int initSysConfig();
// Reads "vm1905_Version". kOk, or kFailure if it cannot be opened.
int initVersion();
// Resets the options of "vm1905.conf" to their defaults. kOk.
int setDefSysConfig();

uint8_t getDebugLevelOption();
int setDebugLevelOption(uint8_t level);  // does not change the running level
uint32_t getEnableNetTopolOption();
int setEnableNetTopolOption(uint32_t enable);        // 1 enables the topology, 0 disables it
int setMaxChangeLogEntriesOption(uint16_t maximum);  // stores at most 256
uint32_t getEnableRebootFromNbrOption();
int setEnableRebootFromNbrOption(uint32_t enable);
uint32_t getEnableIntfPwrCtrlFromNbrOption();
int setEnableIntfPwrCtrlFromNbrOption(uint32_t enable);
uint32_t getEnableLogOption();
int setEnableLogOption(uint32_t enable);
const char* getDataModelFolderOption();
// The setters of folders cut to 31 characters; kOk, or kFailure for nullptr.
int setDataModelFolderOption(const char* folder);
int setLogFolderOption(const char* folder);
uint8_t getLogIndexOption();
int setLogIndexOption(uint8_t index);  // always kOk
// The devices that may give orders (ORDERS_FROM).
const OrdersFrom& getOrdersFromOption();
// True if only control files of root and the daemon's user count (CONTROL_FILES_FROM).
bool getControlFilesOfOwnerOption();
// True if an interface that holds the default route takes no part (EXCLUDE_DEFAULT_ROUTE).
bool getExcludeDefaultRouteOption();
// True if LLDP frames of neighbors are read, which standard mode includes.
bool getReadLldpOption();
// True in standard mode (STANDARD_1905).
bool getStandardOption();
// The files of the keys of the mesh: of the one that signs, and of a second one that is accepted,
// too. Empty if there is none.
const char* getMeshKeyOption();
const char* getMeshKeyNextOption();
// True if the daemon gives up its rights (CONFINE); empty if the file has neither 0 nor 1. The user
// that it then runs as (RUN_AS); empty if that stays as it is.
std::optional<bool> getConfineOption();
const char* getRunAsOption();

// The group of the service channel (CHANNEL_GROUP), if one is given, and the mode of its segments.
std::optional<gid_t> getChannelGroupOption();
mode_t getChannelModeOption();
// The mode of the files in the data-model folder, if one is given.
std::optional<mode_t> getDataModelModeOption();
// The folder of the copies for a web server (WEB_FOLDER), empty if there are to be none, and the
// group that may read them (WEB_GROUP), if one is given.
const char* getWebFolderOption();
void setWebFolderOption(std::string_view folder);
std::optional<gid_t> getWebGroupOption();

// The release, printed at start-up.
inline constexpr const char* kReleaseVersionGit = "WIFISYS_RTK_9.2";
