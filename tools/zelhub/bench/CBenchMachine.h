#pragma once

#include "sim/machine/CSimMachine.h"
#include "sim/models/CSimHidDevice.h"
#include "sim/models/CSimPlainDevice.h"
#include "tools/zelhub/bench/BenchDescription.h"
#include "tools/zelhub/bench/CBenchLab.h"

#include <map>
#include <memory>

/// The simulated machine of a bench file, built and running in this process.
class CBenchMachine
{
public:
    /// Builds everything. Throws CToolError (usage) where an image file of the bench is no use.
    explicit CBenchMachine(BenchDescription bench);
    CBenchMachine(const CBenchMachine&) = delete;
    CBenchMachine& operator=(const CBenchMachine&) = delete;
    ~CBenchMachine();

    CSimMachine& Machine() { return *m_pMachine; }
    const BenchDescription& Description() const { return m_bench; }

    /// A hub's model by its id, null: there is none.
    CSimHub* Hub(const std::string& strId);
    /// A PD controller's model by its id, null: there is none.
    CSimPd* Pd(const std::string& strId);
    std::vector<std::string> PdIds() const;
    /// The PD controller behind a hub's place at an 8-bit address; empty: there is none.
    std::string PdIdAt(const std::string& strLocation, BYTE byAddress) const;
    /// A billboard device's model by its id, null: there is none.
    CSimBillboard* Billboard(const std::string& strId);
    BenchTarget TargetOf(const std::string& strId); ///< of a thing that has a model
    bool HasModel(const std::string& strId) { return ModelOf(strId).has_value(); }
    CBenchLab& Lab() { return m_lab; }
    bool IsSmbus(const std::string& strId) const; ///< the SMBus controller
    /// SMBus controller, a device on it, or the embedded controller.
    bool IsBuiltIn(const std::string& strId) const;
    bool IsPlugged(const std::string& strId) const;
    bool Knows(const std::string& strId) const
    {
        return m_nodes.count(strId) + m_pds.count(strId) != 0;
    }
    void Plug(const std::string& strId, bool bPlugged); ///< what hangs below follows

    std::vector<std::string> Ids() const; ///< of hubs and devices

    /// What hangs at a location path; empty: nothing.
    std::string IdAt(const std::string& strLocation) const;

    void AddFault(const BenchFault& fault);
    void ForgetFaults();

    /// The faults that have not happened yet, counted from now on.
    std::vector<BenchFault> PendingFaults();

    /// Begins the events of the bench file; the machine is otherwise at rest.
    void StartEvents();

    /// @param dFactor simulated seconds per real second, 0: as fast as it can
    void SetPace(double dFactor);

    /// Lets what is under way (a hub on its way back) come to its end, without waiting.
    void Settle();

    double Seconds() const; ///< simulated time

private:
    struct Node
    {
        CSimNode* pNode = nullptr;
        CSimNode* pSuper = nullptr;   ///< the SuperSpeed half
        CSimUsbChip* pChip = nullptr; ///< its model; null for devices of others
        std::string strParent;
        bool bPlugged = true;
    };

    void BuildTree();
    bool TryAdd(const BenchNode& node);
    CSimNode* ParentNode(const std::string& strId, bool bSuper);
    void AddHub(const BenchHub& hub);
    void AddForeignHub(const BenchForeignHub& hub);
    void AddDevice(const BenchDevice& device);
    void AddHid(const BenchHid& hid);
    void AddPd(const BenchPd& pd);
    void AddBillboard(const BenchBillboard& billboard);
    void SetUpProcess();
    static void Show(Node& node);

    /// What goes wrong in a model, and what loses its power.
    struct Model
    {
        SimFaultPlan* pFaults;
        CSimFlash* pFlash;
    };
    std::optional<Model> ModelOf(const std::string& strId);
    std::uint64_t SoFar(const BenchFault& fault);

    BenchDescription m_bench;
    std::unique_ptr<CSimMachine> m_pMachine;
    std::map<std::string, Node> m_nodes;                  ///< controllers stand for their root hubs
    std::map<std::string, std::unique_ptr<CSimPd>> m_pds; ///< outlive their hubs
    std::map<std::string, std::unique_ptr<CSimHub>> m_hubs;
    std::map<std::string, std::unique_ptr<CSimBillboard>> m_billboards;
    std::vector<std::unique_ptr<CSimPlainDevice>> m_plain;
    std::vector<std::unique_ptr<CSimHidDevice>> m_hids;
    CBenchLab m_lab;
    std::vector<BenchFault> m_faults;
};

/// The bytes of an image as a bench file describes it.
std::vector<BYTE> BuildBenchImage(const BenchImage& image);
