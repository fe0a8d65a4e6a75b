// The firmware handler: every operation under the name by which the host calls it. The class owns the
// path of the IPMI tool and hands each operation on to the unit that does it; the units' headers say what each one
// does.
#ifndef PROVIDER_KESTREL_FIRMWARE_H
#define PROVIDER_KESTREL_FIRMWARE_H

#include <list>
#include <string>

#include "host/ProviderBase.h"

class CBMC_KESTREL_Firmware : public CFirmware {
 public:
  // Chooses the IPMI tool, once. Without one the object exists all the same, and every query of the BMC fails.
  explicit CBMC_KESTREL_Firmware(std::string provider);
  ~CBMC_KESTREL_Firmware() override;

  // --- Versions.
  std::string GetOperatingVersion() override;
  std::string GetSDRVersion();
  int CheckVendorVersion(std::string first, std::string second) override;
  bool CheckBMCVersion(std::string first, std::string second, int* result);
  bool CheckSDRVersion(std::string first, std::string second, int* result);

  // --- Update stages. None of them reads the texts that are not named; UpdateRestore always succeeds, since this
  // firmware cannot be rolled back.
  int PreUpdate(std::string, std::string, std::list<std::string>*, bool) override;
  int Update(std::string, std::string packagePath, std::list<std::string>* fileList, bool useOldModule) override;
  int UpdateRestore(std::string) override;
  int UpdateApplyCheck(std::string) override;
  int UpdateApply() override;

  // --- Service processor notification. `*detail` receives the detail code of a failure.
  int SendInfoToSVP(std::string* detail);
  int ExecSendOSInfo(std::string* detail);
  int ExecSendHddInfo(std::string* detail);
  int UnlockConfFile(std::string fileId);

  // --- IPMI access.
  static std::string GetIPMItool(std::string* errorCode);
  // `count` texts (const char*) follow: NetFn, Cmd, data bytes.
  static bool ExecIPMICommand(std::string toolPath, std::list<std::string>* response, int count, ...);
  static bool ExecIPMICommand_list(std::string toolPath, std::list<std::string>* response,
                                   std::list<std::string> request);
  int ExecForeignModuleStdout(const std::string& command, const std::string& outputFile, const std::string& workDir,
                              unsigned long* exitCode, unsigned long timeoutMs);
  int hexstoi(std::string text);
  void num_to_list(int value, std::list<std::string>* out, int bytes);
  void get_charcodelist(std::string text, std::list<std::string>* out);

 private:
  std::string ipmiToolPath_;  // "" when there is no tool
};

#endif  // PROVIDER_KESTREL_FIRMWARE_H
