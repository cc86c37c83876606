/* The public header compiled as C and linked against the shared library: before a logon the
 * calls that need a session answer 8 and leave their outputs alone, with or without the
 * library lock that DllMain makes. */
#include <stdio.h>
#include <string.h>

#include "kvclient.h"

int main(void)
{
    char version[32];
    long count = -1;
    short type = -1;
    memset(version, ' ', 22);
    version[22] = 0;
    if (DllVersion(version) != 0 || strcmp(version, "Client Version 2,5,6,0") != 0 || GetClientsCount(&count) != 8 ||
        count != -1 || GetNextEventType(&type) != 8 || type != -1 || ClientLogoff() != 8 ||
        DllMain(NULL, 1, NULL) != 1 || WDReset() != 8 || DllMain(NULL, 2, NULL) != 1) {
        printf("failed\n");
        return 1;
    }
    return 0;
}
