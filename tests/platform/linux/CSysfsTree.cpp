#include "CSysfsTree.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <stdlib.h>
#include <unistd.h>
#include <vector>

namespace fs = std::filesystem;

namespace
{
bool IsUsb(const std::string& strName)
{
    return strName.rfind("usb", 0) == 0 || strName.find('-') != std::string::npos;
}

std::string BusOf(const std::string& strName)
{
    return strName.rfind("usb", 0) == 0 ? strName.substr(3) : strName.substr(0, strName.find('-'));
}

/// Many small files: where memory serves as a folder, they cost nothing.
fs::path MemoryFolder()
{
    const fs::path memory = "/dev/shm";
    return ::access(memory.c_str(), W_OK) == 0 ? memory : fs::temp_directory_path();
}

std::string MakeRoot()
{
    std::string strRoot = (MemoryFolder() / "zelhub-sysfs-XXXXXX").string();
    EXPECT_NE(::mkdtemp(strRoot.data()), nullptr);
    return strRoot;
}
} // namespace

CSysfsTree::CSysfsTree(const std::string& strLayout) : m_strRoot(MakeRoot())
{
    for (const char* const pszFolder : {"/sys/bus/usb/devices", "/sys/class/hidraw", "/dev"})
        fs::create_directories(m_strRoot + pszFolder);
    Add(strLayout);
}

CSysfsTree::~CSysfsTree()
{
    std::error_code error;
    fs::remove_all(m_strRoot, error);
}

void CSysfsTree::Add(const std::string& strLayout, const std::string& strParent)
{
    std::vector<std::string> above = {strParent.empty() ? "devices" : m_folders.at(strParent)};
    std::istringstream lines(strLayout);
    size_t nMargin = std::string::npos;
    for (std::string strLine; std::getline(lines, strLine);) {
        const size_t nIndent = strLine.find_first_not_of(' ');
        if (nIndent == std::string::npos)
            continue;
        nMargin = std::min(nMargin, nIndent);
        above.resize((nIndent - nMargin) / 2 + 1);
        AddFolder(above.back(), strLine.substr(nIndent));
        above.push_back(above.back() + "/" +
                        strLine.substr(nIndent, strLine.find(' ', nIndent) - nIndent));
    }
}

void CSysfsTree::AddFolder(const std::string& strParent, const std::string& strLine)
{
    std::istringstream words(strLine);
    std::string strName;
    words >> strName;
    const std::string strFolder = strParent + "/" + strName;
    m_folders[strName] = strFolder;
    fs::create_directories(SysRoot() + "/" + strFolder + "/power");
    if (IsUsb(strName)) {
        const std::string strBus = BusOf(strName);
        Set(strName, "busnum", strBus);
        Set(strName, "devnum", std::to_string(++m_devNums[strBus]));
        for (const char* const pszZero : {"bDeviceClass", "bDeviceSubClass", "bDeviceProtocol"})
            Set(strName, pszZero, "00");
        Set(strName, "bcdDevice", "0100");
        Set(strName, "authorized", "1");
        Set(strName, "power/control", "on");
    }
    for (std::string strWord; words >> strWord;)
        AddWord(strName, strWord);
    if (!IsUsb(strName))
        return;
    // As the kernel does it: the attributes first, then the link.
    const std::string strInterface =
        (strName.rfind("usb", 0) == 0 ? BusOf(strName) + "-0" : strName) + ":1.0";
    fs::create_directories(SysRoot() + "/" + strFolder + "/" + strInterface);
    Link("bus/usb/devices/" + strName, strFolder);
    Link("bus/usb/devices/" + strInterface, strFolder + "/" + strInterface);
}

void CSysfsTree::AddWord(const std::string& strName, const std::string& strWord)
{
    const size_t nEqual = strWord.find('=');
    if (strWord.rfind("hid=", 0) == 0) {
        AddHid(strName, strWord.substr(4));
    } else if (nEqual != std::string::npos) {
        Set(strName, strWord.substr(0, nEqual), strWord.substr(nEqual + 1));
    } else if (strWord[0] == '-') {
        Drop(strName, strWord.substr(1));
    } else if (strWord.find(':') != std::string::npos) {
        Set(strName, "idVendor", strWord.substr(0, 4));
        Set(strName, "idProduct", strWord.substr(5));
    } else if (strWord == "hub") {
        Set(strName, "bDeviceClass", "09");
        Set(strName, "power/control", "auto");
    } else if (strWord == "billboard") {
        Set(strName, "bDeviceClass", "11");
    } else if (strWord != "dev") {
        Set(strName, "speed", strWord);
        if (Get(strName, "bDeviceClass") == "09")
            Set(strName, "bDeviceProtocol", std::stoi(strWord) >= 5000 ? "03" : "01");
    }
}

void CSysfsTree::AddHid(const std::string& strName, const std::string& strNumber)
{
    const std::string strHid =
        m_folders[strName] + "/" + strName + ":1.0/0003:" + Get(strName, "idVendor") + ":" +
        Get(strName, "idProduct") + ".000" + strNumber + "/hidraw/hidraw" + strNumber;
    fs::create_directories(SysRoot() + "/" + strHid);
    Link("class/hidraw/hidraw" + strNumber, strHid);
}

void CSysfsTree::Link(const std::string& strFrom, const std::string& strTo) const
{
    std::string strClimb;
    for (const char ch : strFrom)
        strClimb += ch == '/' ? "../" : "";
    fs::create_directory_symlink(strClimb + strTo, SysRoot() + "/" + strFrom);
}

void CSysfsTree::Unplug(const std::string& strName)
{
    const std::string strFolder = m_folders.at(strName);
    fs::remove_all(SysRoot() + "/" + strFolder);
    for (const char* const pszLinks : {"/bus/usb/devices", "/class/hidraw"}) {
        for (const fs::directory_entry& link : fs::directory_iterator(SysRoot() + pszLinks))
            if (!fs::exists(link.path()))
                fs::remove(link.path());
    }
}

std::string CSysfsTree::File(const std::string& strName, const std::string& strAttribute) const
{
    return SysRoot() + "/" + m_folders.at(strName) + "/" + strAttribute;
}

void CSysfsTree::Set(const std::string& strName, const std::string& strAttribute,
                     const std::string& strText)
{
    std::ofstream(File(strName, strAttribute), std::ios::binary) << strText << "\n";
}

std::string CSysfsTree::Get(const std::string& strName, const std::string& strAttribute) const
{
    std::ifstream file(File(strName, strAttribute), std::ios::binary);
    std::string strText;
    std::getline(file, strText);
    return strText;
}

void CSysfsTree::Drop(const std::string& strName, const std::string& strAttribute)
{
    fs::remove(File(strName, strAttribute));
}
