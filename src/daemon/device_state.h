// The whole state of a device: that of every module, lowest floor first. The daemon has one. A test
// or simulation may have several; it clears a device by creating it again.
#pragma once

#include <tuple>

#include "base/file_trouble.h"
#include "controller/announcements.h"
#include "controller/controller_loop.h"
#include "controller/mesh_news.h"
#include "controller/root_ap.h"
#include "daemon/confinement.h"
#include "daemon/control_files.h"
#include "daemon/message_dispatch.h"
#include "daemon/message_monitor.h"
#include "daemon/own_names.h"
#include "daemon/receiver.h"
#include "db/data_model_update.h"
#include "db/database.h"
#include "db/mesh_macs.h"
#include "db/neighbor_aging.h"
#include "db/registrars.h"
#include "db/sys_ctrl.h"
#include "db/upcalls.h"
#include "handlers/answer_memory.h"
#include "handlers/message_log.h"
#include "handlers/order_permission.h"
#include "handlers/result_file.h"
#include "net/fragment_store.h"
#include "net/message_builder.h"
#include "net/message_integrity.h"
#include "net/ports.h"
#include "net/relay_limit.h"
#include "net/transmitter.h"
#include "net/work_limit.h"
#include "orders/control_lists.h"
#include "orders/firmware_upgrade_list.h"
#include "orders/pending_requests.h"
#include "orders/query_tracking.h"
#include "orders/schedule.h"
#include "orders/slots.h"
#include "orders/speed_test.h"
#include "orders/wifi_sync.h"
#include "publish/data_model_files.h"
#include "publish/json_data_model.h"
#include "service/intf_request.h"
#include "service/service_monitor.h"
#include "service/wake_fifo.h"

using ModuleStates = std::tuple<                                                //
    FailingFiles,                                                               // base
    SysCtrl, Database, DataModelUpdateReq, NeighborAging, Registrars, Upcalls,  // db
    PortsState, TransmitterState, FragmentStore, RelayLimit,                    // net
    MessageIntegrity, WorkLimit, TopolRespTlvs, MeshMacs,                       //
    DataModelFiles, DataModelBlocks,                                            // publish
    VendQueries, ControlLists, FWupgradeList, Schedule, PendingRequests,        // orders
    SlotsState, SpeedTestState, WifiSyncState,                                  //
    AnswerMemory, MessageLog, OrderRefusals, ResultFiles,                       // handlers
    Announcements, ControllerLoop, RootAp, MeshNews,                            // controller
    ServiceMonitor, WakeFifo, IntfRequest,                                      // service
    MessageMonitor, Receiver, MessageDispatch, ControlFiles,                    // daemon
    OwnNames, Confinement>;

struct DeviceState : ModuleStates {};

// From now on every module works on this device, which must live as long. The debug level and the
// clock belong to the process and stay as they are.
void useDevice(DeviceState& device);
