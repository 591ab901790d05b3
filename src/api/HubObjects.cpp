#include "api/HubObjects.h"

HubObjects& ProcessObjects()
{
    static HubObjects& s_objects = *new HubObjects;
    return s_objects;
}
