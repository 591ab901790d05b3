#include "tools/zelhub/BenchDescription.h"

#include "wire/HubRequests.h"

const std::vector<BenchRequestName> kBenchRequests = {
    {"get-descriptor", 0x06},           {"reset-to-rom", REQ_FW_RESET},
    {"enable", REQ_VDCMD_ENABLE},       {"status", REQ_STATUS},
    {"read-memory", REQ_READ_MEM},      {"write-memory", REQ_WRITE_MEM},
    {"write-flash", REQ_WRITE_FLASH},   {"read-flash", REQ_READ_FLASH},
    {"erase", REQ_ERASE_FLASH},         {"validate", REQ_ISP_VALIDATION},
    {"reset-to-flash", REQ_RESET_CODE}, {"block-out", REQ_BLOCK_OUT},
    {"block-in", REQ_BLOCK_IN},         {"i2c-config", REQ_I2C_CONFIG},
    {"i2c-write", REQ_I2C_WRITE},       {"i2c-read", REQ_I2C_READ},
};

const std::vector<BenchFaultName> kBenchFaults = {
    {"fail", SimFaultKind::Fail},       {"stall", SimFaultKind::Stall},
    {"timeout", SimFaultKind::TimeOut}, {"urb-status", SimFaultKind::UrbStatus},
    {"corrupt", SimFaultKind::Corrupt}, {"lie", SimFaultKind::Lie},
    {"vanish", SimFaultKind::Vanish},
};

const std::vector<BenchCutName> kBenchCuts = {
    {"before", SimPowerCut::Before},
    {"middle", SimPowerCut::Middle},
    {"after", SimPowerCut::After},
};
