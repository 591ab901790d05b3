#pragma once

#include "sim/models/CSimBillboard.h"
#include "sim/models/CSimHub.h"
#include "sim/models/CSimPd.h"
#include "tools/zelhub/bench/BenchLab.h"

#include <optional>
#include <string>
#include <vector>

/// A simulated machine as a bench file describes it. Plain records; CBenchFile fills them,
/// CBenchMachine builds from them. Identifiers ("id") name things within the file only.
struct BenchImage
{
    std::string strFile; ///< from a file; empty: built from the values below
    USHORT wVersion = 0x0100;
    USHORT wChipId = 0x6560;
    DWORD cbSize = 0x10000;
    DWORD dwSeed = 1;
};

struct BenchNode
{
    std::string strWhere; ///< its place in the file, as a JSON pointer
    std::string strId;
    std::string strParent; ///< id of a controller (its root hub) or of a hub
    unsigned nPort = 0;
    USHORT wVid = 0;
    USHORT wPid = 0;
    DWORD dwInstance = 0; ///< 0: derived from place and IDs
    std::string strSerial;
    std::vector<std::string> locationPaths; ///< empty: composed from the place
    std::vector<std::string> hardwareIds;   ///< empty: composed from the IDs
    bool bPlugged = true;
};

struct BenchController
{
    std::string strWhere;
    std::string strId;
    DWORD dwInstance = 0;
    DWORD dwRootInstance = 0;
};

struct BenchHub : BenchNode
{
    std::string strIdentity = "VO HUB";
    bool bSuperSpeed = false; ///< it has a SuperSpeed half
    std::string strSuperParent;
    unsigned nSuperPort = 0;
    DWORD dwSuperInstance = 0;
    DWORD cbFlash = 0x10000; ///< of each bank
    bool bDualBank = false;
    bool bIspValidation = true;
    std::optional<BenchImage> image;       ///< bank 0; none: blank
    std::optional<BenchImage> secondImage; ///< bank 1
    SimReturn timing;
    DWORD cbI2cMemory = 0;
};

struct BenchForeignHub : BenchNode
{
    std::string strIdentity; ///< its string 0x34; empty: it has none
    DWORD dwOpenError = 0;   ///< opening it fails: it cannot be known
};

struct BenchDevice : BenchNode
{
    std::string strDescription = "USB Device";
    BYTE byClass = 0xFF;
};

/// A USB device with one HID collection, which is a node of its own.
struct BenchHid : BenchNode
{
    DWORD dwHidInstance = 0;  ///< of the collection's node; 0: derived
    DWORD dwOpenError = 0;    ///< opening the collection fails
    std::vector<BYTE> report; ///< its report descriptor
};

/// The inside of a PD controller.
struct BenchPdChip
{
    bool bIspValidation = false;
    bool bCrcCheck = true;
    std::optional<BenchImage> image;       ///< bank 0; none: blank
    std::optional<BenchImage> secondImage; ///< bank 1
    SimReturn timing;
};

/// A PD controller on a hub's I2C bus.
struct BenchPd : BenchPdChip
{
    BenchPd() { timing = {5'000, 400'000, false, false}; }

    std::string strWhere;
    std::string strId;
    std::string strHub;
    BYTE byAddress = 0; ///< 8-bit
    bool bPlugged = true;
};

/// A PD controller that enumerates as a billboard device.
struct BenchBillboard : BenchNode, BenchPdChip
{
    std::string strDescription = "Billboard Device";
    bool bWinUsb = true; ///< it has the driver by which the library reaches it
};

enum class BenchTarget
{
    Hub,
    Pd,
    Billboard
};

struct BenchFault
{
    std::string strWhere;
    BenchTarget eTarget = BenchTarget::Hub;
    std::string strTarget;         ///< its id
    std::optional<BYTE> byRequest; ///< none: any transfer
    std::uint64_t nNth = 0;
    SimFault fault;
    bool bPowerCut = false; ///< nNth is a flash operation
    SimPowerCut eWhen = SimPowerCut::Middle;
    std::string strCall; ///< a call through the seam instead of a device ("IServiceManager::...")
    DWORD dwCode = 0;
};

struct BenchEvent
{
    std::string strWhere;
    DWORD dwAtMs = 0;
    std::string strId;
    bool bPlug = false;
};

struct BenchDescription
{
    std::string strName;
    bool bElevated = true;
    bool bServiceManager = true;
    bool bDriverRunning = false;
    DWORD dwManagerError = 0;
    std::vector<BenchController> controllers;
    std::vector<BenchHub> hubs;
    std::vector<BenchForeignHub> foreignHubs;
    std::vector<BenchDevice> devices;
    std::vector<BenchHid> hids;
    std::vector<BenchPd> pds;
    std::vector<BenchBillboard> billboards;
    BenchLab lab;
    std::vector<BenchFault> faults;
    std::vector<BenchEvent> events;
};

/// A request of a device by its name in bench files ("write-flash").
struct BenchRequestName
{
    const char* pszName;
    BYTE byRequest;
};

/// What can go wrong: how bench files name it, and its requests.
struct BenchTargetName
{
    const char* pszKey;     ///< of a fault
    const char* pszListKey; ///< of the file
    const char* pszTitle;
    BenchTarget eTarget;
    std::vector<BenchRequestName> requests;
};
extern const std::vector<BenchTargetName> kBenchTargets;
const BenchTargetName& NameOfTarget(BenchTarget eTarget);

struct BenchFaultName
{
    const char* pszName;
    SimFaultKind eKind;
};
extern const std::vector<BenchFaultName> kBenchFaults;

struct BenchCutName
{
    const char* pszName;
    SimPowerCut eWhen;
};
extern const std::vector<BenchCutName> kBenchCuts;
