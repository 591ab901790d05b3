/* The entry of the bench driver: device objects, links and the dispatch routines. In C, since the
 * kernel's headers are. Everything else is behind BenchDriver.h. */
// clang-format off
#include <ntddk.h> /* first: it does not bear other definitions of GUID before it */
#include "sim/driver/BenchDriver.h"
#include "sim/driver/BenchProtocol.h"
// clang-format on

#define MAX_NODES 64

#define ERROR_TOO_MANY_NODES 4
#define ERROR_IS_BUSY 170

/* Error codes of callers travel inside a status: the system hands the low word on. */
#define STATUS_OF_ERROR(error) ((NTSTATUS)(0xC0010000u | (error)))

int WINAPI DllMainCRTStartup(void* module, unsigned long reason, void* reserved);

static PDEVICE_OBJECT g_proxy;
static PDEVICE_OBJECT g_control;
static PDEVICE_OBJECT g_nodes[MAX_NODES];
static unsigned g_count;
static unsigned g_proxy_opened;

static const WCHAR kProxyDevice[] = L"\\Device\\ZelUpx";
static const WCHAR kProxyLink[] = L"\\DosDevices\\ZelUpx";
static const WCHAR kControlDevice[] = L"\\Device\\ZelBench";
static const WCHAR kControlLink[] = L"\\DosDevices\\ZelBench";

/* Appends to a text of 260 characters. */
static void Append(WCHAR* text, const WCHAR* more)
{
    unsigned n = 0;
    while (text[n] != 0)
        ++n;
    while (*more != 0 && n < 259)
        text[n++] = *more++;
    text[n] = 0;
}

static void NodeDevice(WCHAR* text, unsigned node)
{
    WCHAR digits[3] = {(WCHAR)(L'0' + node / 10), (WCHAR)(L'0' + node % 10), 0};
    text[0] = 0;
    Append(text, L"\\Device\\ZelBenchNode");
    Append(text, digits);
}

static void NodeLink(WCHAR* text, unsigned node)
{
    text[0] = 0;
    Append(text, L"\\DosDevices\\");
    Append(text, BenchNodePath(node));
}

static NTSTATUS MakeDevice(PDRIVER_OBJECT driver, const WCHAR* name, const WCHAR* link,
                           PDEVICE_OBJECT* device)
{
    UNICODE_STRING device_name;
    UNICODE_STRING link_name;
    NTSTATUS status;
    RtlInitUnicodeString(&device_name, name);
    RtlInitUnicodeString(&link_name, link);
    status = IoCreateDevice(driver, 0, &device_name, FILE_DEVICE_UNKNOWN, 0, FALSE, device);
    if (!NT_SUCCESS(status))
        return status;
    (*device)->Flags |= DO_BUFFERED_IO;
    status = IoCreateSymbolicLink(&link_name, &device_name);
    if (!NT_SUCCESS(status)) {
        IoDeleteDevice(*device);
        *device = NULL;
    }
    return status;
}

static void DropDevice(PDEVICE_OBJECT* device, const WCHAR* link)
{
    UNICODE_STRING link_name;
    if (*device == NULL)
        return;
    RtlInitUnicodeString(&link_name, link);
    IoDeleteSymbolicLink(&link_name);
    IoDeleteDevice(*device);
    *device = NULL;
}

static void DropNodes(void)
{
    WCHAR link[260];
    unsigned i;
    for (i = 0; i < g_count; ++i) {
        if (g_nodes[i] == NULL)
            continue;
        NodeLink(link, i);
        DropDevice(&g_nodes[i], link);
    }
    g_count = 0;
}

static void DropAll(void)
{
    DropNodes();
    DropDevice(&g_control, kControlLink);
    DropDevice(&g_proxy, kProxyLink);
    BenchStop();
}

static NTSTATUS MakeNodes(PDRIVER_OBJECT driver)
{
    WCHAR name[260];
    WCHAR link[260];
    NTSTATUS status = STATUS_SUCCESS;
    const unsigned count = BenchNodeCount();
    if (count > MAX_NODES)
        return STATUS_OF_ERROR(ERROR_TOO_MANY_NODES);
    for (; NT_SUCCESS(status) && g_count < count; ++g_count) {
        if (BenchNodePath(g_count) == NULL)
            continue;
        NodeDevice(name, g_count);
        NodeLink(link, g_count);
        status = MakeDevice(driver, name, link, &g_nodes[g_count]);
    }
    return status;
}

static NTSTATUS MakeAll(PDRIVER_OBJECT driver)
{
    NTSTATUS status = MakeDevice(driver, kProxyDevice, kProxyLink, &g_proxy);
    if (NT_SUCCESS(status))
        status = MakeDevice(driver, kControlDevice, kControlLink, &g_control);
    return NT_SUCCESS(status) ? MakeNodes(driver) : status;
}

static NTSTATUS Complete(PIRP irp, NTSTATUS status, ULONG_PTR done)
{
    irp->IoStatus.Status = status;
    irp->IoStatus.Information = done;
    IoCompleteRequest(irp, IO_NO_INCREMENT);
    return status;
}

static NTSTATUS WINAPI OnCreate(PDEVICE_OBJECT device, PIRP irp)
{
    unsigned i;
    for (i = 0; i < g_count; ++i)
        if (device == g_nodes[i] && !BenchNodeIsThere(i))
            return Complete(irp, STATUS_OBJECT_NAME_NOT_FOUND, 0);
    if (device == g_proxy)
        ++g_proxy_opened;
    return Complete(irp, STATUS_SUCCESS, 0);
}

static NTSTATUS WINAPI OnClose(PDEVICE_OBJECT device, PIRP irp)
{
    if (device == g_proxy)
        --g_proxy_opened;
    return Complete(irp, STATUS_SUCCESS, 0);
}

/* Plays another machine: its nodes have devices of their own. */
static NTSTATUS Load(PDRIVER_OBJECT driver, DWORD process, PIRP irp, ULONG length)
{
    NTSTATUS status;
    DWORD done = 0;
    DWORD error;
    if (g_proxy_opened > 1)
        return STATUS_OF_ERROR(ERROR_IS_BUSY);
    DropNodes();
    error = BenchRequest(1, process, IOCTL_BENCH_LOAD, irp->AssociatedIrp.SystemBuffer, length, 0,
                         &done);
    status = MakeNodes(driver);
    return error == 0 ? status : STATUS_OF_ERROR(error);
}

static NTSTATUS WINAPI OnControl(PDEVICE_OBJECT device, PIRP irp)
{
    PIO_STACK_LOCATION stack = IoGetCurrentIrpStackLocation(irp);
    const DWORD process = (DWORD)(ULONG_PTR)PsGetCurrentProcessId();
    DWORD done = 0;
    DWORD error;
    if (device != g_proxy && device != g_control)
        return Complete(irp, STATUS_INVALID_DEVICE_REQUEST, 0);
    if (device == g_control && stack->Parameters.DeviceIoControl.IoControlCode == IOCTL_BENCH_LOAD)
        return Complete(irp,
                        Load(device->DriverObject, process, irp,
                             stack->Parameters.DeviceIoControl.InputBufferLength),
                        0);
    error = BenchRequest(
        device == g_control, process, stack->Parameters.DeviceIoControl.IoControlCode,
        irp->AssociatedIrp.SystemBuffer, stack->Parameters.DeviceIoControl.InputBufferLength,
        stack->Parameters.DeviceIoControl.OutputBufferLength, &done);
    return Complete(irp, error == 0 ? STATUS_SUCCESS : STATUS_OF_ERROR(error), done);
}

static void WINAPI OnUnload(PDRIVER_OBJECT driver)
{
    (void)driver;
    DropAll();
}

/* Called twice: as the entry of a DLL, since the file is loaded as one, and then as a driver's. */
NTSTATUS WINAPI DriverEntry(void* object, void* path_or_reason, void* reserved)
{
    PDRIVER_OBJECT driver = object;
    NTSTATUS status;
    if ((ULONG_PTR)path_or_reason < 16)
        return DllMainCRTStartup(object, (unsigned long)(ULONG_PTR)path_or_reason, reserved);

    if (!BenchStart())
        return STATUS_UNSUCCESSFUL;
    status = MakeAll(driver);
    if (!NT_SUCCESS(status)) {
        DropAll();
        return status;
    }
    driver->MajorFunction[IRP_MJ_CREATE] = OnCreate;
    driver->MajorFunction[IRP_MJ_CLOSE] = OnClose;
    driver->MajorFunction[IRP_MJ_DEVICE_CONTROL] = OnControl;
    driver->DriverUnload = OnUnload;
    return STATUS_SUCCESS;
}
