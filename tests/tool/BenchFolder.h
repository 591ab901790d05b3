#pragma once

#include "tool/ToolProcess.h"

#include "platform/Types.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

/// What a text of an error has to be: the whole text, with "@name" for a file of the folder, or
/// what a matcher asks for where a part of it varies or is not the tool's own (HasSubstr).
using Said = testing::Matcher<const std::string&>;

/// How next steps begin on a folder's bench, and how they name the hub of UseHub().
inline const std::string kTool = "zelhub --bench @bench.json --bench-state @state ";
inline const std::string kOnItsHub = " --hub 'path:PCIROOT(0)#PCI(1400)#USBROOT(0)#USB(1)'";
/// What is said of that hub while another process works on it.
constexpr const char* kHubIsTaken = "another zelhub is working on the hub at PCIROOT(0)#PCI(1400)"
                                    "#USBROOT(0)#USB(1), or on what hangs on it";

/// A folder of a test's own with a bench, its state and images; gone with the test.
class CBenchFolder
{
public:
    CBenchFolder();
    CBenchFolder(const CBenchFolder&) = delete;
    CBenchFolder& operator=(const CBenchFolder&) = delete;
    ~CBenchFolder();

    std::string Path(const std::string& strName) const { return m_strFolder + "/" + strName; }
    std::string Write(const std::string& strName, const std::string& strText) const;
    std::string Write(const std::string& strName, const std::vector<BYTE>& bytes) const;
    std::string ReadText(const std::string& strName) const { return ReadFile(Path(strName)); }
    static std::string ReadFile(const std::string& strPath);
    std::vector<BYTE> ReadBytes(const std::string& strName) const;

    /// Uses a bench for the runs that follow; its state is forgotten. Apostrophes stand for quotes.
    void UseBench(std::string strJson);
    void UseExample(const char* pszName);

    /// One hub "hub" at port 1 with an image of version 0x0100, and whatever is added to it:
    /// hub members (", 'timing': {...}"), members of its flash, members of the file.
    void UseHub(const std::string& strMore = {}, const std::string& strFlash = {},
                const std::string& strFile = {});

    /// An image of chip 0x6560 in a file of the folder. @return its path
    std::string Image(const std::string& strVersion, const std::string& strMore = {}) const;

    /// Runs a command on the bench, with its state. A line is split at blanks outside of
    /// apostrophes; "@name" is a file of the folder.
    ToolResult Run(const std::vector<std::string>& arguments) const;
    ToolResult Type(const std::string& strLine) const;
    std::vector<std::string> Arguments(const std::vector<std::string>& arguments) const;
    std::vector<std::string> Typed(const std::string& strLine) const;

    /// Types a command that has to end so; then also with these texts of its error.
    ToolResult Expect(int nExit, const std::string& strLine) const;
    void Expect(int nExit, const std::string& strLine, const Said& what,
                const Said& next = testing::_, const Said& state = testing::_) const;

    /// A text with "@name" for the paths of the folder's files, quoted or not.
    std::string AsTyped(std::string strText) const;

    /// What the state file says about a device: the model is the judge.
    nlohmann::json StateOf(const std::string& strId = "hub",
                           const std::string& strList = "hubs") const;

    /// Whether the model is on the bus, runs flash code, and the bank that runs holds exactly this
    /// image.
    static bool Runs(const std::string& strImage, const nlohmann::json& device);
    bool Runs(const std::string& strImage) const { return Runs(strImage, StateOf()); }

private:
    std::string m_strFolder;
    std::string m_strBench;
};

/// The flash contents in a device's part of a state file.
std::vector<BYTE> FlashOf(const nlohmann::json& device);
