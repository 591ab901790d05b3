#include "find/CECFind.h"

// Not in the header: without code in the library, hosts on Windows have nothing to link to.
CECFind::CECFind() = default;
CECFind::~CECFind() = default;
