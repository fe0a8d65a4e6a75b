// Base classes of the host framework (liborv_ProviderBase.so): a plug-in derives its vendor object from CVendor and its
// firmware handler from CFirmware. The host calls both through their virtual tables, so the order of the virtual
// operations below is binary interface; the number behind each one is its slot (Itanium C++ ABI; slots 0 and 1 are the
// complete-object and the deleting destructor).
//
// Threads: the host calls one object from one thread at a time.
// Strings and lists cross this interface by value or pointer, so both sides must be built against one standard library
// and one std::string ABI.
#ifndef HOST_PROVIDER_BASE_H
#define HOST_PROVIDER_BASE_H

#include <list>
#include <string>
#include <utility>

#include "host/Records.h"

// Opaque; plug-ins for this framework only pass it on.
class IWbemServices;

// Manages one update module: its records, its update status and the stages of its update. Results are kSuccess (0) and
// kFailure (1) of Results.h where no other meaning is given.
class CModuleManager {
 public:
  // `provider` is the text that the host gave when it created the plug-in's vendor object.
  explicit CModuleManager(std::string provider);
  virtual ~CModuleManager();  // slots 0, 1

  CModuleManager(const CModuleManager&) = delete;
  CModuleManager& operator=(const CModuleManager&) = delete;

  // Slot 2. Version that the device runs now, in the device's own grammar, or kAbnormalVersion; read anew on every
  // call.
  virtual std::string GetOperatingVersion() = 0;

  // Slot 3. 1 when `second` is newer than `first`, 0 when they are equal or cannot be compared, -1 when it is older.
  virtual int CheckVendorVersion(std::string first, std::string second) = 0;

  // Slot 4. 0 when the package may be registered for this module.
  virtual int CheckRegisterUpdateModule(CManageRepositoryInfo package);

  // Slot 5. Makes the package at `packagePath` the update module under the key `moduleId`.
  virtual int RegistUpdateModule(std::string moduleId, std::string packagePath);

  // Slot 6. Everything that the host manages for this module.
  virtual CManageModuleInfo GetManageModuleInfo();

  // Slot 7. Record of the module that was installed before the last update.
  virtual CManageRepositoryInfo GetOldOperatingModuleInfo();

  // Slot 8. Record of the installed module: after an update the one that was installed, which need not run yet.
  virtual CManageRepositoryInfo GetOperatingModuleInfo();

  // Slot 9. Record of the module that is offered for update.
  virtual CManageRepositoryInfo GetUpdateModuleInfo();

  // Slots 10, 11. Rank of this module when several are updated; lower goes first.
  virtual int GetUpdatePriority();
  virtual void SetUpdatePriority(int priority);

  // Slot 12. Records `version` as the installed module's version when nothing is recorded yet.
  virtual int InitializeOperatingModuleInfo(std::string version);

  // Slot 13. 0 when the dependency is satisfied; the flags select the record compared and whether equality suffices.
  virtual int CheckDependentInfo(CDependencyInfo dependency, bool useUpdateModule, bool allowEqual);

  // Slot 14. The update module's record becomes the installed one; the installed one becomes the old one.
  virtual int ApplyUpdatesRepository();

  // Slot 15. Undoes the last ApplyUpdatesRepository.
  virtual int RollbackRepository();

  // Slots 16, 17. Status and progress (0 to 100) of the update.
  virtual int GetUpdateStatus();
  virtual int GetUpdateProgress();

  // Slot 18. Date of the last update as text, "" for never.
  virtual std::string GetLatestUpdateDate();

  // Slot 19. Version that ran before the last update, "" when unknown.
  virtual std::string GetPrevVendorVersion();

  // Slots 20 to 24. The update stages as the host runs them: each calls the matching firmware operation and keeps the
  // status. The flag selects the old module instead of the update module.
  virtual int ExecuteUpdateBackup(std::string backupPath, bool useOldModule);
  virtual int ExecutePreUpdate(bool useOldModule);
  virtual int ExecuteUpdate(bool useOldModule);
  virtual int ExecuteUpdateRestore(std::string backupPath);
  virtual int ExecuteUpdateApplyCheck();

  // Slots 25 to 28. Setters of the values above.
  virtual void SetUpdateStatus(int status);
  virtual void SetUpdateProgress(int progress);
  virtual void SetLatestUpdateDate(std::string date);
  virtual void SetPrevVendorVersion(std::string version);

  // Slot 29. Reads the kept records from the folder `path`.
  virtual int LoadRepository(std::string path);

  // Slot 30. GetOperatingVersion(), asked once and then remembered.
  virtual std::string GetOperatingVersionCache();

  // Slot 31. Takes the dependencies of the module from its record.
  virtual void SetDependencyInfo(CManageRepositoryInfo package);

  // Slot 32. Saves what an update would replace into `backupPath`.
  virtual int UpdateBackup(std::string backupPath, bool useOldModule);

 protected:
  std::string provider;                     // as given to the constructor
  std::string operatingVersionCache;        // see GetOperatingVersionCache
  std::list<CDependencyInfo> dependencies;  // see SetDependencyInfo
};

// A firmware handler: a module manager whose module is a device's firmware.
class CFirmware : public CModuleManager {
 public:
  explicit CFirmware(std::string provider);
  ~CFirmware() override;

  // Slot 33. Gate before an update: 0 when an update can be tried, 1 when not. Touches nothing.
  virtual int PreUpdate(std::string moduleId, std::string packagePath, std::list<std::string>* fileList,
                        bool useOldModule) = 0;

  // Slot 34. Writes the package at `packagePath` to the device. `fileList` names the archive members to unpack and may
  // be empty for all; the caller keeps it. kSuccess also when there was nothing to do, kFailure, or kUpdateTimedOut.
  virtual int Update(std::string moduleId, std::string packagePath, std::list<std::string>* fileList,
                     bool useOldModule) = 0;

  // Slot 35. Undoes a failed update as far as the device allows.
  virtual int UpdateRestore(std::string backupPath) = 0;

  // Slot 36. 0 when the device runs the installed module's version, else 1.
  virtual int UpdateApplyCheck(std::string moduleId) = 0;

  // Slot 37. Makes an installed update take effect. Unlike its siblings: kGoingDown (1) or kNotApplied (0).
  virtual int UpdateApply() = 0;
};

// A provider's vendor object: the host's one handle on a device. It owns its firmware handler.
class CVendor {
 public:
  enum UPDATE_ORDER { UPDATE_ORDER_FIRST = 0, UPDATE_ORDER_NORMAL = 1, UPDATE_ORDER_LAST = 2 };

  explicit CVendor(std::string provider);
  virtual ~CVendor();  // slots 0, 1; deletes the firmware handler

  CVendor(const CVendor&) = delete;
  CVendor& operator=(const CVendor&) = delete;

  // Name by which the host and the plug-in recognise the derived class; "" until the derived class sets it.
  std::string GetVendorClassName();

  // The firmware handler that LinkDevice made; null before that, or when LinkDevice failed. Stays the vendor's.
  CFirmware* GetFirmwareHandler() const;

  // Slots 2, 3. Version of the hardware itself ("" when it has none), and 0 when two of them are compatible.
  virtual std::string GetHardwareVersion() = 0;
  virtual int CheckHardwareVersion(std::string first, std::string second) = 0;

  // Slot 4. Called once after creation; makes the firmware handler. Reports failure only to the trace.
  virtual void LinkDevice() = 0;

  // Slot 5. Runs the device's own method `name`: kSuccess, or kMethodFailed, also for an unknown name.
  virtual long ExecVendorMethod(std::string name, ...) = 0;

  // Slot 6. Replaces the list with (name, value) pairs that describe the device.
  virtual void GetExtendedInfo(std::list<std::pair<std::string, std::string>>* info) = 0;

  // Slot 7. Appends the applications linked to the device.
  virtual void GetLinkApplicationInfo(std::list<CLinkApplicationInfo>* applications);

  // Slot 8. Kinds of module in the order of updating them.
  virtual std::list<std::string> GetUpdateOrderModuleKind(UPDATE_ORDER order, bool reverse);

  // Slots 9, 10. Whether an update module may be registered (0 yes), and the confirmation that it was.
  virtual int CheckUpdateModuleRegistration(CManageModuleInfo module);
  virtual int ConfirmUpdateModuleRegistration(std::string moduleKind, std::string moduleId, std::string packagePath);

  // Slots 11 to 15. The update stages for one kind of module; each goes to the same stage of the firmware handler.
  virtual int ExecuteUpdateBackup(std::string moduleKind, std::string backupPath, bool useOldModule);
  virtual int ExecutePreUpdate(std::string moduleKind, bool useOldModule);
  virtual int ExecuteUpdate(std::string moduleKind, bool useOldModule);
  virtual int ExecuteUpdateRestore(std::string moduleKind, std::string backupPath);
  virtual int ExecuteUpdateApplyCheck(std::string moduleKind);

  // Slots 16, 17. 0 when a dependency, or every condition of the kind of module, is satisfied.
  virtual int CheckDependentInfo(CDependencyInfo dependency, bool useUpdateModule, bool allowEqual);
  virtual int CheckUpdateCondition(std::string moduleKind, bool useUpdateModule, bool allowEqual);

  // Slot 18. Everything that the host manages for the device.
  virtual CManageModuleInfo GetDeviceInfo();

  // Slots 19 to 21. Rank of a kind of module; the provider that owns a kind; the host's management service.
  virtual void SetUpdatePriority(int priority, std::string moduleKind);
  virtual void SetOwnerProvider(std::string moduleKind, std::string owner);
  virtual void SetIWbemServices(IWbemServices* services);

  // Slot 22. GetHardwareVersion(), asked once and then remembered.
  virtual std::string GetHardwareVersionCache();

  // Slot 23. True when the last update failed.
  virtual bool IsUpdateFailure();

  // Slots 24 to 29. Kept values of one kind of module.
  virtual std::string GetLatestUpdateDate(std::string moduleKind);
  virtual std::string GetPrevVendorVersion(std::string moduleKind);
  virtual void SetDependencyInfo(CManageModuleInfo module);
  virtual void SetLatestUpdateDate(std::string moduleKind, std::string date);
  virtual void SetPrevVendorVersion(std::string moduleKind, std::string version);
  virtual void ClearUpdateStatus(std::string moduleKind, bool keepFailure);

  // Slots 30 to 32. The device configuration report in three calls. `savePath` is a folder that ends with a separator;
  // the pointer is the caller's and opaque. kSuccess or kFailure; ExecOutputDeviceConfigInfo also kNoReport.
  virtual int StartOutputDeviceConfigInfo(std::string savePath, void* context) = 0;
  virtual int ExecOutputDeviceConfigInfo(std::string savePath, void* context) = 0;
  virtual int EndOutputDeviceConfigInfo(std::string savePath, void* context) = 0;

  // Slot 33. Appends the prerequisite applications that are missing; never clears the list.
  virtual void GetShortageOfNecessaryApplicationInfo(std::list<CNecessaryComponentInfo>& missing) = 0;

  // Slot 34. False when the package fits this machine, true when it must not be applied. The record stays the caller's.
  virtual bool CheckUpdateConditionByDevicevendor(std::string moduleKind, CManageRepositoryInfo* repository) = 0;

  // Slot 35. The same decision taken by the module manager's own conditions.
  virtual bool CheckUpdateConditionByModule(std::string moduleKind, CModuleManager* module, std::string version,
                                            bool useUpdateModule, bool allowEqual);

 protected:
  CFirmware* firmwareHandler = nullptr;  // owned; set by LinkDevice
  std::string vendorId;                  // vendor identifier
  std::string deviceName;                // name of the device
  std::string vendorClassName;           // see GetVendorClassName
  std::string provider;                  // as given to the constructor
  std::string hardwareVersionCache;      // see GetHardwareVersionCache
};

#endif  // HOST_PROVIDER_BASE_H
