#pragma once

#include "sim/driver/IBenchBus.h"
#include "sim/models/CSimHub.h"
#include "sim/models/CSimImage.h"

#include <memory>
#include <vector>

/// The machine that the bench driver plays until it is given another: a host controller, its root
/// hub, and on port 1 a hub that runs version 0x0111.
class CBenchBus : public IBenchBus
{
public:
    CBenchBus();

    CSimSystem& System() override { return *m_pSystem; }
    void Keep(bool /*bFinal*/) override {} // it begins anew with every start of the driver

    const std::shared_ptr<CSimSystem>& Shared() const { return m_pSystem; }
    CSimHub& Hub() { return *m_pHub; }
    CSimNode& HubNode() { return *m_pHubNode; }

    static std::vector<BYTE> OldImage()
    {
        return CSimImage(0x8100).Version(0x0111).Seed(1).Build();
    }

private:
    std::shared_ptr<CSimSystem> m_pSystem = std::make_shared<CSimSystem>();
    std::unique_ptr<CSimHub> m_pHub;
    CSimNode* m_pHubNode = nullptr;
};
