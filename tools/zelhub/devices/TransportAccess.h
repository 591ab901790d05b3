#pragma once

#include "tools/zelhub/devices/CHubSession.h"

/// Ports and memory through the hub driver; no hub need be open. Each throws CToolError (no
/// access) where the driver refuses, or where a read came back with nothing in it.
namespace TransportAccess
{

BYTE ReadPort(CHubSession& session, DWORD dwPort);
void WritePort(CHubSession& session, DWORD dwPort, BYTE byValue);
std::vector<BYTE> ReadMemory(CHubSession& session, DWORD dwAddress, DWORD cb);
void WriteMemory(CHubSession& session, DWORD dwAddress, std::vector<BYTE> bytes);

} // namespace TransportAccess
