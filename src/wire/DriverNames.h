#pragma once

#include "platform/Types.h"

/* Names that the library and the drivers agree on. */
#define ZELUPX_DEVICE_PATH WTEXT("\\\\.\\ZelUpx")
#define ZELUPX_SERVICE_NAME WTEXT("ZelUpx")
#define VOPORT_DEVICE_PATH WTEXT("\\\\.\\voport")
#define VOPORT_SERVICE_NAME WTEXT("voport")
#define SS_EVENT_NAME WTEXT("Global\\XHubSSEvent")
#define SS_PIPE_NAME WTEXT("\\\\.\\pipe\\XHubServicePipe")
