/* Lists the hubs of this machine. */
#include <api/zelhub.h>
#include <stdio.h>

int main(void)
{
    _Hub_Info* pList = NULL;
    DWORD dwCount = 0;
    if (!XH_InitDevice(false))
        return 1;
    if (XH_ListAllDevice(&pList, &dwCount))
        XH_FreeAllDevice(pList);
    printf("%u hubs\n", (unsigned)dwCount);
    XH_ReleaseDevice();
    return 0;
}
