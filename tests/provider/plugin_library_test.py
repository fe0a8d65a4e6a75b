"""The built plug-in as the host's loader sees it: what it exports, what it needs, how it is hardened."""

import os
import re
import subprocess
import unittest

PLUGIN = os.environ["KESTREL_PLUGIN"]

# Everything that the host has promised a plug-in and that this one binds to.
CONTRACT = """
    CTraceUtility::WriteDebug(char const*, CTraceUtility::TRACE_DBG_LEVEL, char const*, ...)
    CTraceUtility::WriteTrace(char const*, char const*, ...)
    ShowMessage(wchar_t const*, wchar_t const*)
    ShowMessage(wchar_t const*, char const*)

    GetCurrentThreadId()
    GetLastError()
    Sleep(unsigned long)
    _mkdir(char const*)

    CStringUtil::NumberToTString(long)
    CStringUtil::Split(std::string&, std::string const&)
    CStringUtil::StringToLowerCase(std::string)
    CStringUtil::StringToUpperCase(std::string)
    CStringUtil::TStringToNumber(std::string)
    CStringUtil::strReplace(std::string&, std::string const&, std::string const&)
    CStringUtil::xatoa(std::string)

    CFileUtility::GetInstallPath(int)
    CFileUtility::IsFileExist(std::string)

    CCommon_Information::ExecForeignModule(std::string const&, std::string const&, std::string const&, unsigned long*, unsigned long)
    CCommon_Information::GetArchitectureInfo(std::string const&)
    CCommon_Information::GetIpmiServiceState(std::string)
    CCommon_Information::GetResultLine(std::string const&)
    CCommon_Information::GetServerType(std::string)
    CCommon_Information::MyPathFileExists(std::string const&)
    CCommon_Information::RetryDeleteFile(std::string const&)

    CUnzip_Utility::DeleteFolder(std::string, std::string)
    CUnzip_Utility::UpdateModuleUnzip(std::string, std::list<std::string>*, std::string, std::string*, std::string)

    COrvXmlNode::COrvXmlNode(COrvXmlNode const&)
    COrvXmlNode::COrvXmlNode(std::string)
    COrvXmlNode::addAttribute(std::string, std::string)
    COrvXmlNode::addChildNode(COrvXmlNode const&)
    COrvXmlNode::~COrvXmlNode()
    COrvXmlWrite::COrvXmlWrite()
    COrvXmlWrite::writeXML(std::string, COrvXmlNode)
    COrvXmlWrite::~COrvXmlWrite()

    typeinfo for CVendor
    CVendor::CVendor(std::string)
    CVendor::~CVendor()
    CVendor::GetVendorClassName()
    CVendor::GetLinkApplicationInfo(std::list<CLinkApplicationInfo>*)
    CVendor::GetUpdateOrderModuleKind(CVendor::UPDATE_ORDER, bool)
    CVendor::CheckUpdateModuleRegistration(CManageModuleInfo)
    CVendor::ConfirmUpdateModuleRegistration(std::string, std::string, std::string)
    CVendor::ExecuteUpdateBackup(std::string, std::string, bool)
    CVendor::ExecutePreUpdate(std::string, bool)
    CVendor::ExecuteUpdate(std::string, bool)
    CVendor::ExecuteUpdateRestore(std::string, std::string)
    CVendor::ExecuteUpdateApplyCheck(std::string)
    CVendor::CheckDependentInfo(CDependencyInfo, bool, bool)
    CVendor::CheckUpdateCondition(std::string, bool, bool)
    CVendor::GetDeviceInfo()
    CVendor::SetUpdatePriority(int, std::string)
    CVendor::SetOwnerProvider(std::string, std::string)
    CVendor::SetIWbemServices(IWbemServices*)
    CVendor::GetHardwareVersionCache()
    CVendor::IsUpdateFailure()
    CVendor::GetLatestUpdateDate(std::string)
    CVendor::GetPrevVendorVersion(std::string)
    CVendor::SetDependencyInfo(CManageModuleInfo)
    CVendor::SetLatestUpdateDate(std::string, std::string)
    CVendor::SetPrevVendorVersion(std::string, std::string)
    CVendor::ClearUpdateStatus(std::string, bool)
    CVendor::CheckUpdateConditionByModule(std::string, CModuleManager*, std::string, bool, bool)

    typeinfo for CFirmware
    CFirmware::CFirmware(std::string)
    CFirmware::~CFirmware()
    CModuleManager::CheckRegisterUpdateModule(CManageRepositoryInfo)
    CModuleManager::RegistUpdateModule(std::string, std::string)
    CModuleManager::GetManageModuleInfo()
    CModuleManager::GetOldOperatingModuleInfo()
    CModuleManager::GetOperatingModuleInfo()
    CModuleManager::GetUpdateModuleInfo()
    CModuleManager::GetUpdatePriority()
    CModuleManager::SetUpdatePriority(int)
    CModuleManager::InitializeOperatingModuleInfo(std::string)
    CModuleManager::CheckDependentInfo(CDependencyInfo, bool, bool)
    CModuleManager::ApplyUpdatesRepository()
    CModuleManager::RollbackRepository()
    CModuleManager::GetUpdateStatus()
    CModuleManager::GetUpdateProgress()
    CModuleManager::GetLatestUpdateDate()
    CModuleManager::GetPrevVendorVersion()
    CModuleManager::ExecuteUpdateBackup(std::string, bool)
    CModuleManager::ExecutePreUpdate(bool)
    CModuleManager::ExecuteUpdate(bool)
    CModuleManager::ExecuteUpdateRestore(std::string)
    CModuleManager::ExecuteUpdateApplyCheck()
    CModuleManager::SetUpdateStatus(int)
    CModuleManager::SetUpdateProgress(int)
    CModuleManager::SetLatestUpdateDate(std::string)
    CModuleManager::SetPrevVendorVersion(std::string)
    CModuleManager::LoadRepository(std::string)
    CModuleManager::GetOperatingVersionCache()
    CModuleManager::SetDependencyInfo(CManageRepositoryInfo)
    CModuleManager::UpdateBackup(std::string, bool)
"""


def readelf(option: str) -> str:
    return subprocess.run(["readelf", "--wide", option, PLUGIN], check=True, capture_output=True, text=True).stdout


def declarations(symbols: list[str]) -> set[str]:
    """The symbols as a reader of the contract writes them, for every ABI they are built for."""
    text = subprocess.run(["c++filt"], input="\n".join(symbols), check=True, capture_output=True, text=True).stdout
    text = text.replace("[abi:cxx11]", "").replace("std::__cxx11::", "std::")
    text = re.sub(r"std::basic_string<char, std::char_traits<char>, std::allocator<char> ?>", "std::string", text)
    text = re.sub(r"std::list<([^<>]+), std::allocator<\1 ?> ?>", r"std::list<\1>", text)
    return set(text.splitlines())


class PluginLibrary(unittest.TestCase):
    def test_exports_the_two_entry_points_and_nothing_else(self):
        rows = [line.split() for line in readelf("--dyn-syms").splitlines()]
        defined = {row[7] for row in rows if len(row) > 7 and row[0][:-1].isdigit() and row[6] != "UND"}
        self.assertEqual(defined, {"GetVendorFactory", "ReleaseVendor"})

    def test_needs_the_host_libraries_and_the_runtime_only(self):
        needed = set(re.findall(r"\(NEEDED\).*\[(.*)\]", readelf("--dynamic")))
        self.assertEqual(needed & {"liborv_ProviderBase.so", "liborv_DllCommon.so"},
                         {"liborv_ProviderBase.so", "liborv_DllCommon.so"})
        self.assertLessEqual(needed, {"liborv_ProviderBase.so", "liborv_DllCommon.so", "libstdc++.so.6", "libgcc_s.so.1",
                                      "libc.so.6", "libm.so.6"})

    def test_is_linked_with_full_relro(self):
        self.assertRegex(readelf("--dynamic"), r"\(FLAGS\).*BIND_NOW|\(FLAGS_1\).*NOW")
        self.assertIn("GNU_RELRO", readelf("--program-headers"))

    def test_asks_the_host_for_exactly_its_contract(self):
        rows = [line.split() for line in readelf("--dyn-syms").splitlines()]
        # The runtime's symbols have versions or, where they need not be there, are weak; the host's are neither.
        undefined = [row[7] for row in rows
                     if len(row) > 7 and row[6] == "UND" and row[4] == "GLOBAL" and "@" not in row[7]]
        promised = {line.strip() for line in CONTRACT.splitlines() if line.strip()}
        self.assertEqual(declarations(undefined), promised)


if __name__ == "__main__":
    unittest.main()
