/* Asks the daemon by the client library, and prints what came of it. Reads lines
 *   SERVICE PAYLOAD TIMEOUT_MS
 * PAYLOAD is hexadecimal, or "-" for none. A line for each, as soon as it is there: result, id of
 * the answer, and its payload without the zeros at its end. A time-out with a plus sign counts from
 * when the daemon has taken the request, which a line "taken" tells. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "vm1905_client.h"

static size_t parse(const char* text, unsigned char* bytes, size_t capacity) {
    size_t length = strlen(text) / 2, i;
    unsigned byte;
    for (i = 0; i < length && i < capacity; i++) {
        if (sscanf(text + 2 * i, "%2x", &byte) != 1) exit(2);
        bytes[i] = (unsigned char)byte;
    }
    return i;
}

static void print(int result, const vm1905_answer* answer) {
    size_t length = result == 0 ? sizeof answer->payload : 0, i;
    while (length > 0 && answer->payload[length - 1] == 0) length--;
    printf("%d %d ", result, result == 0 ? answer->id : 0);
    for (i = 0; i < length; i++) printf("%02x", answer->payload[i]);
    printf("\n");
    fflush(stdout);
}

static int ask(vm1905_client* client, const char* service, const char* text, const char* timeout,
               vm1905_answer* answer) {
    unsigned char payload[VM1905_MAX_PAYLOAD];
    const unsigned short id = (unsigned short)atoi(service);
    const size_t length = strcmp(text, "-") == 0 ? 0 : parse(text, payload, sizeof payload);
    const unsigned ms = (unsigned)atoi(timeout);
    int result;
    if (timeout[0] != '+') return vm1905_call(client, id, payload, length, ms, answer);
    result = vm1905_post(client, id, payload, length, 3000);
    if (result != 0) return result;
    printf("taken\n");
    fflush(stdout);
    return vm1905_wait(client, ms, answer);
}

int main(void) {
    vm1905_client* client = NULL;
    const int opened = vm1905_open(&client);
    char line[600], service[8], payload[512], timeout[16];
    while (fgets(line, sizeof line, stdin) != NULL) {
        vm1905_answer answer;
        if (sscanf(line, "%7s %511s %15s", service, payload, timeout) != 3) return 2;
        memset(&answer, 0, sizeof answer);
        print(opened != 0 ? opened : ask(client, service, payload, timeout, &answer), &answer);
    }
    vm1905_close(client);
    return 0;
}
