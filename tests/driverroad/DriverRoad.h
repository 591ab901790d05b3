#pragma once

#include "api/zelhub.h"
#include "api/zelhub_bench.h"
#include "platform/IFileSystem.h"
#include "platform/IServiceManager.h"
#include "sim/driver/CBenchBus.h"
#include "sim/driver/CBenchRoad.h"
#include "support/HubJob.h"
#include "wire/DriverNames.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using Image = std::vector<BYTE>;

/// The folder of the test's program, where the library lies as well.
std::string OwnFolder();

/// A process that uses the library on the bench driver: real services, and at first a system
/// where no driver was ever installed.
class DriverRoad : public testing::Test
{
protected:
    DriverRoad();
    ~DriverRoad() override;

    IServiceManager& Services() { return m_road.ServiceManager(); }
    IFileSystem& Files() { return m_road.FileSystem(); }

    /// The service's state, 0 when there is no such service.
    DWORD ServiceState();
    void RemoveService();

    WString InstalledFile();

    /// Puts one of the built driver files (by its version) in the installed one's place.
    void Install(const char* pszVersion, const WString& strTo);
    std::string InstalledVersion(); ///< "1.2.0.5", "" when there is none

    /// Log lines behind their stamps, of the library's own file.
    std::vector<std::string> Log();
    bool HasLogged(const std::string& strText);

    CBenchBus m_bus;
    CSimMachine m_machine{m_bus.Shared()};
    CBenchRoad m_road{m_machine};
};

/// A job for a node of the bench.
struct BenchJob : HubJob
{
    explicit BenchJob(const CSimNode& node) : HubJob(PathOf(node)) {}

    static WString PathOf(const CSimNode& node)
    {
        WString strPath = node.Traits().locationPaths.front();
        return strPath;
    }
};
