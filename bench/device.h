// A device to measure on: the daemon on a scripted platform, with neighbors.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "base/bytes.h"
#include "base/mac_addr.h"
#include "db/records.h"
#include "support/frames.h"

// Addresses of the n-th neighbor.
MacAddr nbrAlMac(unsigned n);
MacAddr nbrIntfMac(unsigned n);

// Starts a device with 3 interfaces in one bridge, one of them Wi-Fi. Two of them have 2 non-1905
// and 2 1905 neighbors each. Its topology response has 170 bytes.
void startReferenceDevice();
// Starts a device with intfNum Gigabit interfaces in one bridge, each with one non-1905 and one
// 1905 neighbor.
void startDevice(unsigned intfNum);
void stopDevice();

// Writes the device's topology response to out, with its end-of-message TLV. Returns the size in
// bytes.
size_t encodeTopolResp(std::span<uint8_t> out);
// Reads the TLVs of a topology response into dev. False if they are rejected.
bool decodeTopolResp(Bytes area, DevTopol& dev);

// Frames of a neighbor of the reference device, as they arrive: a discovery, and a topology query.
Frame discoveryFrame(uint16_t id);
Frame queryFrame(uint16_t id);
// Receives the neighbor's first discovery, with id 0. Only that one is answered.
void meetNeighbor();
// Hands the frames to the first port. Each must have a new id, and after 64 of them advance the
// clock: the daemon drops repeated messages, and limits its answers in a second.
void inject(const std::vector<Frame>& frames);
// Reads and handles this number of frames. False if there are fewer.
bool receive(size_t count);
// Takes what the first port has sent since the last inject. Returns the number of frames.
size_t takeSent();

// Remote devices that send the topology response of this one.
class RemoteDevices {
  public:
    // Adds them to the tables.
    explicit RemoteDevices(unsigned count);
    // The first devices, as many as this, send a response that differs from their last one.
    void change(unsigned count);

  private:
    void store(unsigned number);

    DevTopol topol_;
    std::vector<uint16_t> medium_;
};

// The folder of the data-model file, removed at the end.
class DataModelFolder {
  public:
    DataModelFolder();
    ~DataModelFolder();
    DataModelFolder(const DataModelFolder&) = delete;
    DataModelFolder& operator=(const DataModelFolder&) = delete;
    // The size of the file in bytes; aborts if there is none.
    size_t fileSize() const;

  private:
    std::string path_ = "/tmp/vm1905-XXXXXX";
};

// Writes the data-model file, even if the last time is not long ago.
void writeDataModel();
