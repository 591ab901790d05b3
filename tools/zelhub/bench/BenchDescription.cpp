#include "tools/zelhub/bench/BenchDescription.h"

#include "wire/HubRequests.h"

#include <algorithm>

const std::vector<BenchTargetName> kBenchTargets = {
    {"hub",
     "hubs",
     "hub",
     BenchTarget::Hub,
     {{"get-descriptor", 0x06},
      {"reset-to-rom", REQ_FW_RESET},
      {"enable", REQ_VDCMD_ENABLE},
      {"status", REQ_STATUS},
      {"read-memory", REQ_READ_MEM},
      {"write-memory", REQ_WRITE_MEM},
      {"write-flash", REQ_WRITE_FLASH},
      {"read-flash", REQ_READ_FLASH},
      {"erase", REQ_ERASE_FLASH},
      {"validate", REQ_ISP_VALIDATION},
      {"reset-to-flash", REQ_RESET_CODE},
      {"block-out", REQ_BLOCK_OUT},
      {"block-in", REQ_BLOCK_IN},
      {"i2c-config", REQ_I2C_CONFIG},
      {"i2c-write", REQ_I2C_WRITE},
      {"i2c-read", REQ_I2C_READ}}},
    {"pd",
     "pdControllers",
     "PD controller",
     BenchTarget::Pd,
     {{"enable", 0x01},
      {"reset-to-rom", 0x02},
      {"erase", 0x03},
      {"write-0", 0x04},
      {"write-1", 0x06},
      {"write-2", 0x13},
      {"write-3", 0x14},
      {"reset-to-flash", 0x05},
      {"read-0", 0x24},
      {"read-1", 0x26},
      {"read-2", 0x33},
      {"read-3", 0x34},
      {"status", 0x3A},
      {"validate", 0x16},
      {"crc", 0x35}}},
    {"billboard",
     "billboards",
     "billboard device",
     BenchTarget::Billboard,
     {{"get-descriptor", 0x06},
      {"reset-to-rom", REQ_FW_RESET},
      {"enable", REQ_VDCMD_ENABLE},
      {"status", REQ_BB_STATUS},
      {"write-flash", REQ_WRITE_FLASH},
      {"read-flash", REQ_READ_FLASH},
      {"erase", REQ_ERASE_FLASH},
      {"validate", REQ_ISP_VALIDATION},
      {"reset-to-flash", REQ_RESET_CODE},
      {"crc", REQ_BB_CRC}}},
};

const BenchTargetName& NameOfTarget(BenchTarget eTarget)
{
    return *std::find_if(kBenchTargets.begin(), kBenchTargets.end(),
                         [=](const BenchTargetName& name) { return name.eTarget == eTarget; });
}

const std::vector<BenchFaultName> kBenchFaults = {
    {"fail", SimFaultKind::Fail},       {"stall", SimFaultKind::Stall},
    {"timeout", SimFaultKind::TimeOut}, {"urb-status", SimFaultKind::UrbStatus},
    {"corrupt", SimFaultKind::Corrupt}, {"lie", SimFaultKind::Lie},
    {"slow", SimFaultKind::Slow},       {"vanish", SimFaultKind::Vanish},
};

const std::vector<BenchCutName> kBenchCuts = {
    {"before", SimPowerCut::Before},
    {"middle", SimPowerCut::Middle},
    {"after", SimPowerCut::After},
};
