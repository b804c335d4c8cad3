// The topology database: the root record of what this device knows, and the accessors of its
// tables. data_manager.h fills it, local_tables.h and own_state.h update what describes this
// device; neighbours, remote devices and the change log have modules of their own.
//
// An accessor that returns a pointer returns nullptr if there is no such entry; the pointer stays
// valid until its table changes.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "db/records.h"

struct Database {
    std::unique_ptr<AlTable> al_table;
    // What the accessors return without a database; always empty.
    std::vector<uint8_t> noVendInfo;
    std::list<IntfTable> noIntfs;
    std::vector<NbrDev> noNbrDevs;
    std::list<Ieee1905DevTable> noDevs;
};

// Creates an empty database, in place of an older one.
AlTable& createDatabase();
// Frees it.
void destroyDatabase();

AlTable* getAlTable();                  // nullptr without a database
const MacAddr* getAlMac();              // nullptr without a database
bool isOwnAlMac(const MacAddr& alMac);  // false without a database
const uint8_t* getAlOui();              // 3 bytes, nullptr without a database
uint32_t getNetTopolCap();              // enable switch, 0 without a database
uint32_t getNetTopolStatus();
TopolTable* getNetTopolTable();
std::list<Ieee1905DevTable>& getIeee1905DevTables();  // empty without a database
std::list<IntfTable>& getIntfTable();                 // likewise
// Asks the platform for the number of interfaces, stores it and returns it.
uint8_t getIntfNum();
IntfTable* getIntfTableByIndex(unsigned index);
IntfTable* getIntfTableById(const MacAddr& mac, uint32_t mediaType);
IntfTable* getIntfTableByName(std::string_view name);
IntfNbrDev* getIntfNbrDevByMac(IntfTable& intf, const MacAddr& nbrIntfMac);
uint8_t getBrdgTupleNum();
BrdgTuple* getBrdgTupleByIndex(unsigned index);
SecurityTable* getSecurityTable();
std::vector<NbrDev>& getNbrDevTable();  // likewise
// Number of neighbour devices in 8-bit arithmetic: 256 of them count as 0, which is meant.
uint8_t getNbrDevNum();
NbrDev* getNbrDevTableByIndex(unsigned index);  // index modulo 256
