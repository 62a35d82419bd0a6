/* Runs the layout checks of the exported records from a C translation unit. */
#include <stddef.h>
#include <stdio.h>
#include "hapi/hapi_types.h"

int main(void)
{
    int bad = 0;
    bad |= sizeof(usp_t) != 4 || offsetof(usp_t, port) != 2;
    bad |= sizeof(SwitchPortMapEntry) != 4;
    bad |= offsetof(torvikSwitchingHwType, portMap) != 8;
    bad |= sizeof(PhyPortSettings) != 56 || offsetof(PhyPortSettings, ledState) != 52;
    if (bad)
        fprintf(stderr, "record layout differs when compiled as C\n");
    return bad;
}
