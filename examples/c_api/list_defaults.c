#include <bios/dp_api.h>
#include <stdio.h>

int main(int argc, char** argv) {
    dp_attribute* attributes;
    unsigned count;
    dp_api_initialize();
    if (argc == 2 && dp_get_bios_attributes(argv[1], &attributes, &count) == 0)
        for (unsigned i = 0; i < count; i++)
            printf("%s = %s\n", attributes[i].id, attributes[i].dft);
    return dp_api_uninitialize();
}
