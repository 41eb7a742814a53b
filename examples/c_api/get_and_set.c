/* Lists, reads and changes BIOS attributes through the C API:
 *
 *   get_and_set list COLLECTION                  names, pending values and defaults
 *   get_and_set get COLLECTION.ATTRIBUTE...      pending and current values
 *   get_and_set set COLLECTION.ATTRIBUTE=VALUE...
 */
#define _DEFAULT_SOURCE /* flock */
#include <bios/dp_api.h>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/file.h>

enum { operation_get = 1, operation_set = 2, pending_values = 0, current_values = 1 };

/* The status of a request for which the service reported no failure: it changes no other. */
static const uint32_t unanswered = 255;

/* All clients of the C API share one batch file and one result file. Whoever changes values locks
 * their folder meanwhile. The lock ends with the process. */
static void lock_exchange(void) {
    /* DP_ROOT moves all files where the library is the relocatable one, as in ./dev shell. */
    const char* root = getenv("DP_ROOT");
    char folder[4096];
    snprintf(folder, sizeof folder, "%s/tmp/dp", root != NULL ? root : "");
    const int descriptor = open(folder, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor != -1)
        flock(descriptor, LOCK_EX);
}

/* Puts a backslash before each double quote and backslash. The C API writes values as they are. */
static char* escaped(const char* value) {
    char* const text = malloc(2 * strlen(value) + 1);
    char* end = text;
    if (text == NULL)
        exit(1);
    for (; *value != '\0'; value++) {
        if (*value == '"' || *value == '\\')
            *end++ = '\\';
        *end++ = *value;
    }
    *end = '\0';
    return text;
}

static int list(const char* collection) {
    const char** names;
    unsigned count;
    if (dp_get_bios_attribute_names(collection, &names, &count) != 0) {
        fprintf(stderr, "no collection %s\n", collection);
        return 1;
    }
    for (unsigned i = 0; i < count; i++) {
        dp_transaction request = {.operation = operation_get, .name = names[i]};
        dp_attribute* attribute;
        dp_get_bios_attribute_value(&request, 1, pending_values);
        if (dp_get_bios_attribute(names[i], &attribute) == 0)
            printf("%s = %s (default %s)\n", names[i], request.value, attribute->dft);
    }
    return 0;
}

static int get(dp_transaction* requests, unsigned count) {
    int failed = 0;
    for (unsigned i = 0; i < count; i++) {
        dp_transaction* const request = &requests[i];
        dp_transaction current = *request;
        if (dp_get_bios_attribute_value(request, 1, pending_values) != 0) {
            fprintf(stderr, "%s: status %u\n", request->name, request->status);
            failed = 1;
            continue;
        }
        dp_get_bios_attribute_value(&current, 1, current_values);
        /* 19: longer than the 79 bytes of `value`, and cut. */
        printf("%s = %s%s (current %s)\n", request->name, request->value,
               request->status == 19 ? "..." : "", current.value);
    }
    return failed;
}

static int set(dp_transaction* requests, unsigned count) {
    lock_exchange();
    const int failed = dp_set_bios_attribute_value(requests, count);
    if (failed == -1)
        fprintf(stderr, "the settings service did not answer\n");
    for (unsigned i = 0; i < count && failed > 0; i++)
        if (requests[i].status != unanswered)
            fprintf(stderr, "%s: status %u\n", requests[i].name, requests[i].status);
    return failed != 0;
}

int main(int argc, char** argv) {
    const char* const command = argc >= 3 ? argv[1] : "";
    const unsigned count = argc >= 3 ? (unsigned)(argc - 2) : 0;
    const int is_set = strcmp(command, "set") == 0;
    dp_transaction* const requests = calloc(count + 1, sizeof *requests);
    int result = 2;
    for (unsigned i = 0; i < count; i++) {
        char* const equals = strchr(argv[i + 2], '=');
        requests[i].operation = is_set ? operation_set : operation_get;
        requests[i].status = unanswered;
        requests[i].name = argv[i + 2];
        if (is_set && equals != NULL) {
            requests[i].new_value = escaped(equals + 1);
            *equals = '\0';
        }
    }
    dp_api_initialize();
    if (strcmp(command, "list") == 0)
        result = list(argv[2]);
    if (strcmp(command, "get") == 0)
        result = get(requests, count);
    if (is_set)
        result = set(requests, count);
    if (result == 2)
        fprintf(stderr, "usage: get_and_set list|get|set NAME[=VALUE]...\n");
    dp_api_uninitialize();
    for (unsigned i = 0; i < count; i++)
        free((char*)requests[i].new_value);
    free(requests);
    return result;
}
