/* A host in C that knows the library by its file name alone. It starts the library, says "ready"
 * and what it found, waits for a line, releases the library and says "done". */
#include <stdio.h>

// clang-format off
#include <windows.h>
#include "api/zelhub.h"
// clang-format on

typedef bool(ZEL_CALL* InitFunction)(bool);
typedef bool(ZEL_CALL* ListFunction)(_Hub_Info**, DWORD*);
typedef void(ZEL_CALL* EndFunction)(void);

typedef void (*AnyFunction)(void);

static AnyFunction Named(HMODULE library, const char* name)
{
    AnyFunction function = (AnyFunction)GetProcAddress(library, name);
    if (function == NULL) {
        printf("no %s\n", name);
        ExitProcess(2);
    }
    return function;
}

int main(void)
{
    char line[16];
    _Hub_Info* hubs = NULL;
    DWORD count = 99;
    bool listed;
    HMODULE library = LoadLibraryA("Zelhublib64.dll");
    if (library == NULL) {
        printf("no library: %lu\n", GetLastError());
        return 2;
    }
    if (!((InitFunction)Named(library, "XH_InitDevice"))(false)) {
        printf("no start\n");
        return 1;
    }
    listed = ((ListFunction)Named(library, "XH_ListAllDevice"))(&hubs, &count);
    printf("ready, list %d, %lu hubs\n", listed ? 1 : 0, count);
    fflush(stdout);
    if (fgets(line, sizeof line, stdin) == NULL)
        return 3;
    ((EndFunction)Named(library, "XH_UnInitDevice"))();
    FreeLibrary(library);
    printf("done\n");
    return 0;
}
