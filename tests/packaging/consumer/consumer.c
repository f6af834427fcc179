/* consumer.c - an application in C: finds the library, asks its version, sees a failure as a code and a text. */
#include <orvex/ox.h>
#include <stdio.h>
#include <string.h>

int main(int count, char** arguments)
{
    const char* version = OX_GetOption("Version");
    if (strncmp(version, "Version 3.1.0", 13) != 0)
        return 1;
    if (OX_SetOption("DeviceType", "Abacus") != OX_NotAvailable)
        return 2;
    if (strcmp(OX_GetOption("LastError"), "unknown device type \"Abacus\"") != 0)
        return 3;
    if (count > 1 && strcmp(arguments[1], "virtual") == 0 && OX_IsConnected() != OX_NoError)
        return 4;
    printf("C, %s library: %s\n", count > 1 ? arguments[1] : "?", OX_GetOption("Version"));
    return 0;
}
