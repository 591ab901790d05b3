#include "sim/driver/CBenchBus.h"

CBenchBus::CBenchBus()
{
    CSimDeviceTree& tree = m_pSystem->tree;
    CSimNode& root = tree.AddRootHub(tree.AddHostController());
    const SimHubSettings settings;
    m_pHub = std::make_unique<CSimHub>(m_pSystem->clock, settings);
    m_pHubNode = &tree.AddHub(root, 1, {}, m_pHub.get());
    m_pHub->AddPort(m_pHubNode);
    m_pHub->LoadImage(OldImage());
}
