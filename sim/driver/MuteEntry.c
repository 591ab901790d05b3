/* A driver that starts and makes no device: what a host sees of a damaged one. */
#include <ntddk.h>

static void WINAPI OnUnload(PDRIVER_OBJECT driver)
{
    (void)driver;
}

/* Called first as the entry of a DLL, since the file is loaded as one. */
NTSTATUS WINAPI DriverEntry(void* object, void* path_or_reason, void* reserved)
{
    PDRIVER_OBJECT driver = object;
    (void)reserved;
    if ((ULONG_PTR)path_or_reason < 16)
        return TRUE;
    driver->DriverUnload = OnUnload;
    return STATUS_SUCCESS;
}
