#pragma once

#include "sim/models/CSimEc.h"
#include "sim/models/CSimSmbusController.h"

#include <optional>
#include <string>
#include <vector>

/// What a bench file says of the machine's own hardware: SMBus, embedded controller, memory and
/// the port driver. Plain records.

/// Bytes from a place on: an address, a register, the command of an SMBus block.
struct BenchBytes
{
    DWORD dwFrom = 0;
    std::vector<BYTE> bytes;
    bool bReadOnly = false; ///< registers and memory: writes change nothing
};

struct BenchSmbusDevice
{
    std::string strWhere; ///< its place in the file, as a JSON pointer
    std::string strId;
    BYTE byAddress = 0; ///< 8-bit
    bool bNeedsPec = false;
    std::vector<BenchBytes> blocks; ///< by command
};

struct BenchSmbusFault
{
    unsigned nTransaction = 0; ///< 0: the next
    SimSmbusFault eKind = SimSmbusFault::DevErr;
};

struct BenchSmbus
{
    std::string strWhere;
    std::string strId;
    DWORD dwBase = 0xEFA0;
    bool bPresent = true; ///< false: nothing answers at its configuration address
    unsigned nCorruptReads = 0;
    std::vector<BenchSmbusFault> faults;
    std::vector<BenchSmbusDevice> devices;
};

struct BenchEc
{
    std::string strWhere;
    std::string strId;
    USHORT wCommandPort = 0x66;
    USHORT wDataPort = 0x62;
    CSimClock::Micros usTake = 20;
    CSimClock::Micros usAnswer = 50;
    bool bBurst = false;
    bool bHangs = false;
    std::vector<BenchBytes> registers;
};

/// What becomes of a start of the port driver.
enum class BenchPortDriver
{
    Loads,   ///< it is installed and started
    Running, ///< an earlier program did that
    Missing, ///< the library carries no driver
    Denied   ///< the service does not start: access denied
};

struct BenchLab
{
    std::optional<BenchSmbus> smbus;
    std::optional<BenchEc> ec;
    std::vector<BenchBytes> memory;
    BenchPortDriver ePortDriver = BenchPortDriver::Loads;
};

struct BenchSmbusFaultName
{
    const char* pszName;
    SimSmbusFault eKind;
};
extern const std::vector<BenchSmbusFaultName> kBenchSmbusFaults;

struct BenchPortDriverName
{
    const char* pszName;
    BenchPortDriver eState;
};
extern const std::vector<BenchPortDriverName> kBenchPortDrivers;
