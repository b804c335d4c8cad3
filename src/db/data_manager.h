// The topology database: the root record, its filling from the platform, and the accessors and
// updaters of the tables that describe this device. Neighbours, remote devices and the change log
// stand in neighbor_aging.h, device_table.h and change_log.h.
//
// Unless told otherwise, updaters return kChanged when something changed (the rewrite of the data
// model has then been requested), kNothingChanged when nothing did or the target was not found.
// Pointers that accessors return stay valid until the table they point into changes; nothing is
// nullptr.
#pragma once

#include <cstdint>
#include <vector>

#include "db/records.h"
#include "platform/descriptions.h"

// Creates the database and fills it from the platform. kOk, or the code of the first step that
// failed (the database then does not exist).
int initDataManager();
// Frees it. kOk.
int destroyDataManager();

AlTable* getAlTable();                  // nullptr before initDataManager
const MacAddr* getAlMac();              // nullptr before initDataManager
bool isOwnAlMac(const MacAddr& alMac);  // false before initDataManager
const uint8_t* getAlOui();              // 3 bytes
const std::vector<uint8_t>& getAlVendInfo();
uint32_t getAlOperStatus();
uint32_t getNetTopolCap();  // enable switch, 0 without a database
uint32_t getNetTopolStatus();
TopolTable* getNetTopolTable();
std::list<IntfTable>& getIntfTable();  // empty without a database
// Asks the platform for the number of interfaces, stores and returns it.
uint8_t getIntfNum();
IntfTable* getIntfTableByIndex(unsigned index);
IntfTable* getIntfTableById(const MacAddr& mac, uint32_t mediaType);
IntfTable* getIntfTableByName(std::string_view name);
IntfNbrDev* getIntfNbrDevByIndex(IntfTable& intf, unsigned index);
IntfNbrDev* getIntf1905NbrDevByIndex(IntfTable& intf, unsigned index);
IntfNbrDev* getIntfNon1905NbrDevByIndex(IntfTable& intf, unsigned index);
IntfNbrDev* getIntfNbrDevByMac(IntfTable& intf, const MacAddr& nbrIntfMac);
uint8_t getBrdgTupleNum();
BrdgTuple* getBrdgTupleByIndex(unsigned index);
FwdRule* getFwdRuleTableByIndex(unsigned index);
FwdRule* getFwdRuleTableByRuleId(uint16_t ruleId);
SecurityTable* getSecurityTable();
std::vector<NbrDev>& getNbrDevTable();  // empty without a database
// Number of neighbour devices in 8-bit arithmetic: 256 of them count as 0, which is meant.
uint8_t getNbrDevNum();
NbrDev* getNbrDevTableByIndex(unsigned index);  // index modulo 256

// Stores the first of len bytes at value: key 0 enable reboot from a neighbour, key 1 enable
// interface power control from a neighbour. kOk, or kFailure for another key or no database.
int setAlTableConfValue(int key, int len, const void* value);
int enableNetTopol();                    // kOk
int disableNetTopol();                   // kOk
int setNetTopolStatus(uint32_t status);  // kOk

int updateAlMac(const MacAddr& alMac);
// Finds the interface by its name alone, replaces its MAC and reopens the ports.
int updateIntfMac(std::string_view name, const MacAddr& oldMac, uint32_t mediaType,
                  const MacAddr& newMac);
int updateIntfPwrState(std::string_view name, const MacAddr& mac, uint32_t mediaType,
                       uint32_t newState);
int updateIntfOperStatus(std::string_view name, const MacAddr& mac, uint32_t mediaType,
                         uint32_t newStatus);
int updateIntfMediaType(const MacAddr& mac, uint32_t oldMediaType, uint32_t newMediaType,
                        const MediaInfo& mediaInfo);

// Pass a power state (0 on ... ) on to the platform; its result.
int setIntfPwrStateByMediaType(uint32_t mediaType, uint32_t state);
int setIntfPwrStateByMac(const MacAddr& mac, uint32_t mediaType, uint32_t state);

// Adds every description that is not in the table yet, by name, MAC and media type. kFailure when
// a description lacks what its counts promise. The descriptions stay the caller's.
int addIntf(const IntfDesc* list);
// Removes every interface that is described.
int removeIntf(const IntfDesc* list);
// Neighbour interfaces of a local interface, named by its name; macs are 6-byte neighbour
// interface MACs. kNoLocalIntf when the interface is unknown.
int addIntfNbrIntf(std::string_view name, const MacAddr& mac, uint32_t mediaType,
                   const std::vector<MacAddr>& macs);
int removeIntfNbrIntf(std::string_view name, const MacAddr& mac, uint32_t mediaType,
                      const std::vector<MacAddr>& macs);
// Fetches the bridging tuples again. kChanged or kFailure.
int requestUpdateBrdgCap();

// The platform announced (1) or withdrew a new firmware; writes the data model. kOk.
int updateFWNewfirmware(uint32_t result);
// The status of the own firmware upgrade; writes the data model when it changed. kOk.
int updateNewFWUpgradeStatus(uint32_t status);
// The LED status text; writes the data model when it changed. kOk.
int updateLEDStatus(std::string_view text);
// Mirrors the platform's Wi-Fi configuration into the tables; writes the data model when
// something differed. kOk, or kFailure without a database.
int updateWPSConfig();
