// The data model as a JSON file for the management front end.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "db/records.h"
#include "publish/data_model_files.h"
#include "publish/json_device.h"

// The objects of the remote devices, kept from one rewrite of the file to the next: half of one is
// rendered again only if its record or its surroundings have changed.
struct DataModelBlocks {
    struct Block {
        uint64_t revision = 0, listsRevision = 0;  // of the record; 0: not rendered
        Surroundings surroundings;
        std::string description, lists;  // of beginIeee1905Device and endIeee1905Device

        size_t size() const { return description.size() + lists.size(); }
    };
    std::vector<Block> blocks;      // in the order of the devices
    uint64_t topologyRevision = 0;  // of the tables from which the surroundings were derived
};

// Rewrites "vm1905.json" in the data-model folder, then "vm1905_APautoconfig.json", as soon as
// writeDataModelFile permits. Always kOk; a file that cannot be replaced is left as it is.
int writeJsonDataModel();

// The text of "vm1905.json". Arguments may be nullptr: without topol there is no "NetworkTopology"
// object, without security no "Security" object and no closing brace, without al only the three
// opening lines. The front end accepts the last two, although they are not valid JSON.
std::string renderJsonDataModel(const AlTable* al, const TopolTable* topol,
                                const SecurityTable* security);

// Calls write with that text for the device in use. Renders what the blocks of the last call lack.
void renderDataModelFile(const WritePieces& write);
