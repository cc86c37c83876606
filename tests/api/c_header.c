/* The public header compiled as C and linked against the shared library: the calls that
 * need no session work, and the others answer 8 before a logon. */
#include <stdio.h>
#include <string.h>

#include "kvclient.h"

static int failures = 0;

static void Expect(int ok, const char* what)
{
    if (!ok) {
        printf("failed: %s\n", what);
        ++failures;
    }
}

int main(void)
{
    char version[32];
    long count = -1;
    short type = -1;
    memset(version, ' ', 22);
    version[22] = 0;
    Expect(DllVersion(version) == 0 && strcmp(version, "Client Version 2,5,6,0") == 0, "DllVersion");
    Expect(GetClientsCount(&count) == 8 && count == -1, "GetClientsCount before logon");
    Expect(GetClientsCountMT(NULL, &count) == 8, "GetClientsCountMT without a session");
    Expect(GetNextEventType(&type) == 8 && type == -1, "GetNextEventType before logon");
    Expect(AllStop() == 8 && ClientLogoff() == 8, "AllStop and ClientLogoff before logon");
    Expect(Log("x") == 0 && strcmp(ResultString(0), "") == 0, "Log and ResultString");
    Expect(DllMain(NULL, 1, NULL) == 1 && WDReset() == 8 && DllMain(NULL, 2, NULL) == 1, "DllMain");
    return failures == 0 ? 0 : 1;
}
