/* Asks the daemon by the client library, and prints what came of it:
 *   probe SERVICE PAYLOAD TIMEOUT_MS [SERVICE PAYLOAD TIMEOUT_MS ...]
 * PAYLOAD is hexadecimal, or "" for none. A line for each, as soon as it is there: result, id of the
 * answer, and its payload without the zeros at its end; a line "taken" before it for a time-out that
 * begins with a plus sign, which counts from there. */
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

int main(int argc, char** argv) {
    vm1905_client* client = NULL;
    int result = vm1905_open(&client), i;
    if (result != 0) {
        printf("%d 0 \n", result);
        return 0;
    }
    for (i = 1; i + 2 < argc; i += 3) {
        unsigned char payload[VM1905_MAX_PAYLOAD];
        vm1905_answer answer;
        const unsigned short service = (unsigned short)atoi(argv[i]);
        const size_t length = parse(argv[i + 1], payload, sizeof payload);
        const unsigned timeout = (unsigned)atoi(argv[i + 2]);
        memset(&answer, 0, sizeof answer);
        if (argv[i + 2][0] != '+') {
            result = vm1905_call(client, service, payload, length, timeout, &answer);
        } else if ((result = vm1905_post(client, service, payload, length, 3000)) == 0) {
            printf("taken\n");
            fflush(stdout);
            result = vm1905_wait(client, timeout, &answer);
        }
        print(result, &answer);
    }
    vm1905_close(client);
    return 0;
}
