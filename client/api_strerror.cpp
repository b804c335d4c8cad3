// vm1905_strerror of vm1905_client.h.
#include <algorithm>
#include <cstdio>
#include <iterator>

#include "vm1905_client.h"

namespace {

struct Words {
    int result;
    const char* text;
};

constexpr Words kWords[] = {
    {VM1905_FOREIGN, "the service channel was made by a user who is not the daemon's"},
    {VM1905_CANCELLED, "cancelled"},
    {VM1905_SYSTEM, "the system refused access to the service channel"},
    {VM1905_BAD_ANSWER, "the daemon gave a malformed answer"},
    {VM1905_BAD_ARGUMENT, "an argument is missing, too long or out of range"},
    {VM1905_BUSY, "the service channel is busy with other requests"},
    {VM1905_TIMEOUT, "no answer in time"},
    {VM1905_RESTARTED, "the daemon ended or restarted before it answered"},
    {VM1905_NO_DAEMON, "the daemon is not running"},
    {VM1905_OK, "done"},
    {VM1905_NO_INTF, "the device has no such interface"},
    {VM1905_NO_PWR_STATE, "the interface does not support this power state"},
    {VM1905_NO_NEIGHBOR, "no neighbor has this AL MAC address"},
    {VM1905_FAILED, "refused or failed"},
    {VM1905_NO_TABLE, "the daemon has no such table"},
    {VM1905_WRONG_STATE, "not possible in the present state"},
    {VM1905_NO_ITEM, "there is no such option"},
    {VM1905_OUT_OF_RANGE, "the value is out of range"},
    {VM1905_UNCHANGED, "already set, or 0 where 0 is not allowed"},
    {VM1905_NO_SERVICE, "there is no such service"},
    {VM1905_BAD_TYPE, "messages of this type cannot be sent"},
    {VM1905_BAD_INDEX, "there is no entry with this index"},
    {VM1905_EMPTY, "the table is empty"},
    {VM1905_NO_OWN_INTF, "this device has no interface with this MAC address and media type"},
    {VM1905_NO_DEVICE, "no device of the network has this AL MAC address"},
    {VM1905_NO_TOPOLOGY, "the network has not been discovered yet"},
};
static_assert(std::ranges::adjacent_find(kWords, std::ranges::greater_equal{}, &Words::result) ==
              std::end(kWords));

}  // namespace

extern "C" const char* vm1905_strerror(int result) {
    const auto* const found = std::ranges::lower_bound(kWords, result, {}, &Words::result);
    if (found != std::end(kWords) && found->result == result) return found->text;
    static thread_local char text[48];
    std::snprintf(text, sizeof text, result > 0 ? "refused with code %d" : "unknown error %d",
                  result);
    return text;
}
