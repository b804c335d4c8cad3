// The topology database and the accessors of its tables. data_manager.h fills it; local_tables.h
// and own_state.h update the part that describes this device; neighbors, remote devices and the
// change log have modules of their own.
//
// An accessor that returns a pointer returns nullptr if there is no such entry; the pointer stays
// valid until its table changes.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "db/records.h"

struct Database {
    std::unique_ptr<AlTable> al_table;  // nullptr: there is no database
    // Returned by the accessors if there is no database; always empty.
    std::vector<uint8_t> noVendInfo;
    std::list<IntfTable> noIntfs;
    std::vector<NbrDev> noNbrDevs;
    DevTables noDevs;
    uint64_t lastRevision = 1;  // of those given to the topology and to records
    uint64_t topologyRevision = 1;
};

// Creates an empty database, which replaces an older one.
AlTable& createDatabase();
// Frees the database.
void destroyDatabase();

// A number that is new after each change of what topology responses show, so that what was derived
// from it can be kept. Code that changes addresses, media or flags of this device, its interfaces,
// tuples or neighbors, or addresses, media or 1905 neighbors of a remote device, calls
// noteTopologyChange; DevTables does when a device comes or goes.
uint64_t topologyRevision();
void noteTopologyChange();

AlTable* getAlTable();                  // nullptr without a database
const MacAddr* getAlMac();              // nullptr without a database
bool isOwnAlMac(const MacAddr& alMac);  // false without a database
const uint8_t* getAlOui();              // 3 bytes, nullptr without a database
uint32_t getNetTopolCap();              // TopolTable::enable, 0 without a database
uint32_t getNetTopolStatus();           // TopolTable::status, 0 without a database
TopolTable* getNetTopolTable();         // nullptr without a database
DevTables& getIeee1905DevTables();      // empty without a database
std::list<IntfTable>& getIntfTable();   // likewise
// Asks the platform for the number of interfaces, stores and returns it; the stored number if the
// platform fails, 0 without a database.
uint8_t getIntfNum();
// The index-th interface (from 0) of those that the stored number covers.
IntfTable* getIntfTableByIndex(unsigned index);
IntfTable* getIntfTableById(const MacAddr& mac, uint32_t mediaType);
IntfTable* getIntfTableByName(std::string_view name);
// The interface with this name, else the one with this MAC and media type. Several interfaces may
// share a MAC, as those of a switch do.
IntfTable* getIntfTableOf(std::string_view name, const MacAddr& mac, uint32_t mediaType);
// The neighbor interface with this MAC on a local interface.
IntfNbrDev* getIntfNbrDevByMac(IntfTable& intf, const MacAddr& nbrIntfMac);
uint8_t getBrdgTupleNum();                       // low 8 bits; 0 without a database
BrdgTuple* getBrdgTupleByIndex(unsigned index);  // from 0
SecurityTable* getSecurityTable();               // nullptr without a database
std::vector<NbrDev>& getNbrDevTable();           // empty without a database
// Meant: the number of neighbor devices modulo 256.
uint8_t getNbrDevNum();
// The neighbor device with this AL MAC, nullptr if there is none.
NbrDev* findNbrDev(const MacAddr& alMac);
// The index-th neighbor device (from 0). Meant: the index is taken modulo 256.
NbrDev* getNbrDevTableByIndex(unsigned index);
