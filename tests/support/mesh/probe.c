/* Sends requests to the daemon through the client library. Reads lines
 *   SERVICE PAYLOAD TIMEOUT_MS
 * where PAYLOAD is hexadecimal, or "-" if empty. Prints "taken" when the daemon has the request,
 * and then the result, the id of the answer, and its payload without trailing zeros. */
#include <stdio.h>
#include <string.h>

#include "vm1905_client.h"

int main(void) {
    vm1905_client* client = NULL;
    const int opened = vm1905_open(&client);
    char line[600], text[512];
    unsigned service, timeout;
    size_t i;
    while (fgets(line, sizeof line, stdin) != NULL) {
        unsigned char payload[VM1905_MAX_PAYLOAD];
        size_t length = 0;
        int result = opened;
        vm1905_answer answer;
        memset(&answer, 0, sizeof answer);
        if (sscanf(line, "%u %511s %u", &service, text, &timeout) != 3) return 2;
        while (length < sizeof payload &&
               sscanf(text + 2 * length, "%2hhx", payload + length) == 1) {
            length++;
        }
        if (result == 0) {
            result = vm1905_post(client, (unsigned short)service, payload, length, timeout);
        }
        if (result == 0) {
            printf("taken\n");
            fflush(stdout);
            result = vm1905_wait(client, timeout, &answer);
        }
        length = sizeof answer.payload;
        while (length > 0 && answer.payload[length - 1] == 0) length--;
        printf("%d %d ", result, answer.id);
        for (i = 0; i < length; i++) printf("%02x", answer.payload[i]);
        printf("\n");
        fflush(stdout);
    }
    vm1905_close(client);
    return 0;
}
